// The parts of tts-voice that judge sound, on sounds made here.
#include <gtest/gtest.h>

#include <numeric>

#include "contour.h"
#include "sounds.h"

using namespace tts_voice;

namespace {

constexpr double kHighHz = 200;

// 300 ms whose pitch moves through `points`, in semitones over kHighHz.
samples glide(std::vector<double> points) {
    for (double &point : points) point = kHighHz * std::pow(2, point / 12);
    return voiced(300, points);
}

TEST(Contour, TellsTheTonesApart) {
    const struct {
        const char *sound;
        std::vector<double> points;
        int tone;  // the only one that may pass; 0 for none
    } rows[] = {
        {"level with a voiced consonant in front", {-4, 0, 0, 0}, 1},
        {"level, but low", {-4, -4}, 0},
        {"rising to the top", {-5, -4, 0}, 2},
        {"rising by one semitone", {-1.5, -0.5}, 1},
        {"rising, but staying low", {-9, -5}, 3},
        {"dipping", {-6, -9, -9, -5}, 3},
        {"falling from the top", {0, -9}, 4},
        {"falling, but not far", {0, -3}, 0},
        {"falling, but not from the top", {-2.8, -9}, 0},
    };
    for (const auto &row : rows) {
        const std::vector<double> track = pitch_track_hz(glide(row.points));
        for (int tone = 1; tone <= 4; ++tone) {
            EXPECT_EQ(has_contour(track, tone, kHighHz), tone == row.tone)
                << row.sound << ", asked for tone " << tone;
        }
    }
    for (const double semitones : {-12.0, 0.0, 7.0}) {
        const double hz = kHighHz * std::pow(2, semitones / 12);
        EXPECT_NEAR(median_hz(pitch_track_hz(glide({semitones, semitones}))), hz, 0.01 * hz);
    }
    EXPECT_LT(pitch_track_hz(noise(300)).size(), 6U) << "noise was given a pitch";
    EXPECT_TRUE(pitch_track_hz(samples(4800)).empty()) << "silence was given a pitch";
    EXPECT_TRUE(pitch_track_hz({}).empty());
    EXPECT_FALSE(has_contour({}, 1, kHighHz));
}

TEST(Clip, LosesItsOffsetAndKeepsItsLevel) {
    samples sound = glide({0, 0});
    const double level = active_level_dbfs(sound, kClipRateHz);
    for (float &sample : sound) sample += 0.2F;
    high_pass(sound, 60, kClipRateHz);
    sound.erase(sound.begin(), sound.begin() + 800);
    const double sum = std::accumulate(sound.begin(), sound.end(), 0.0);
    EXPECT_NEAR(sum / static_cast<double>(sound.size()), 0, 0.002);
    EXPECT_NEAR(active_level_dbfs(sound, kClipRateHz), level, 0.2);
    approach_level(sound, level + 8, 0.75, 0.89);
    EXPECT_NEAR(active_level_dbfs(sound, kClipRateHz), level + 6, 0.1);
    approach_level(sound, 0, 1, 0.5);
    EXPECT_NEAR(peak_of(sound), 0.5, 0.001);
    samples silent(100);
    approach_level(silent, -20, 1, 0.89);
    EXPECT_EQ(peak_of(silent), 0) << "silence was divided by its peak";
}

TEST(Clip, ResamplingKeepsLengthAndPitchAndStartsAfresh) {
    resampler resample(22050, kClipRateHz);
    const samples sound = glide({0, 0});  // 200 Hz at 16000 is 275.6 Hz at 22050
    const samples first = resample(sound);
    EXPECT_EQ(first.size(), static_cast<size_t>(std::lround(4800.0 * 16000 / 22050)));
    EXPECT_NEAR(median_hz(pitch_track_hz(first)), 275.6, 3);
    resample(noise(300));
    EXPECT_EQ(resample(sound), first) << "the clip before is still in the filter";
}

TEST(Clip, IsTrimmedFadedAndWritten) {
    const samples voice = glide({0, 0});
    samples padded(1600), short_tail = voice, sound(1600, 1.0F), tiny(3, 1.0F);
    padded.insert(padded.end(), voice.begin(), voice.end());
    padded.resize(padded.size() + 1600);
    trim_start(padded, -44, 20);
    trim_end(padded, -44, 12);
    EXPECT_NEAR(static_cast<double>(padded.size()), 4800 + 320 + 192, 20);
    trim_end(short_tail, -44, 12);
    EXPECT_NEAR(static_cast<double>(short_tail.size()), 4800, 5) << "sound was cut off";
    fade(sound, 2, 5);
    EXPECT_LT(std::max(sound.front(), sound.back()), 0.01F);
    EXPECT_EQ(sound[32], 1.0F) << "the fade in is longer than 2 ms";
    EXPECT_EQ(sound[1600 - 81], 1.0F) << "the fade out is longer than 5 ms";
    fade(tiny, 2, 5);  // shorter than its fades: must stay inside
    EXPECT_LT(tiny.back(), 0.5F);
    EXPECT_EQ(to_pcm16({0.0F, 1.0F, -1.0F, 2.0F, -2.0F}),
              std::string("\x00\x00\xFF\x7F\x01\x80\xFF\x7F\x00\x80", 10));
    EXPECT_EQ(to_pcm16(from_pcm16(std::string("\x34\x12", 2))), std::string("\x34\x12", 2));
}

}  // namespace
