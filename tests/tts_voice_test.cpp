// The tones of tts-voice build, on sounds made here.
#include <gtest/gtest.h>

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

}  // namespace
