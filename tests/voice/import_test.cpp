// Sounds made here: their tones, and the clips and voices that recordings of them become. The
// script of what to record.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <limits>

#include "common/files.h"
#include "common/temporary_directory.h"
#include "common/voice_names.h"
#include "lexicon.h"
#include "lists.h"
#include "plan/plan.h"
#include "recordings/import.h"
#include "recordings/import_clip.h"
#include "recordings/script.h"
#include "sound/median.h"
#include "sound/pitch.h"
#include "support/minimal_tree.h"
#include "support/sounds.h"

using namespace tts_tools;
using namespace tts_voice;
namespace fs = std::filesystem;

namespace {

// 200 ms of a quiet room, `ms` of a voice of 220 Hz, and the room again.
samples voice(double ms, int rate_hz, double peak = 0.3, double room = 0.0002) {
    samples sound = noise(400 + ms, rate_hz, room);
    const samples speech = voiced(ms, {220, 220}, rate_hz, peak);
    std::transform(speech.begin(), speech.end(), sound.begin() + rate_hz / 5,
                   sound.begin() + rate_hz / 5, std::plus<>());
    return sound;
}

constexpr int kWav = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int kFloat = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
constexpr int kFlac = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;

void record(const fs::path &path, const samples &sound, int rate_hz, int format = kWav,
            int channels = 1) {
    fs::create_directories(path.parent_path());
    SF_INFO info{};
    info.samplerate = rate_hz;
    info.channels = channels;
    info.format = format;
    SNDFILE *file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    for (const float sample : sound) {
        const std::vector<float> frame(static_cast<size_t>(channels), sample);
        sf_writef_float(file, frame.data(), 1);
    }
    sf_close(file);
}

// The message of the refusal; empty when there was none.
std::string refusal_of(const std::function<void()> &work) {
    try {
        work();
        return "";
    } catch (const failure &why) {
        return why.what();
    }
}

samples clip_of(const fs::path &path, const char *file = "pinyinRaw/hao4") {
    return clip_importer().make(read_recording(path), form_of(file));
}

class Import : public ::testing::Test {
  protected:
    std::string import_into(const fs::path &target) {
        import_options options;
        options.recordings = root / "wav";
        options.target = target;
        options.data = TTS_VOICE_LISTS;
        options.fill = fill;
        testing::internal::CaptureStdout();
        const std::string message = refusal_of([&] { import_voice(options); });
        testing::internal::GetCapturedStdout();
        return message;
    }

    void record_all(std::initializer_list<const char *> names) {
        for (const std::string name : names) {
            record(root / "wav" / (name + ".wav"), voice(300, 16000), 16000);
        }
    }
    void put(const std::string &file, const std::string &bytes) {
        fs::create_directories((root / file).parent_path());
        write_file(root / file, bytes);
    }
    std::string text(const char *file) { return read_file(root / "voice" / file); }
    bool recorded(const std::string &clip) {
        std::error_code error;
        return fs::file_size(root / "voice" / clip, error) > 1000 && !error;
    }

    const temporary_directory directory{fs::temp_directory_path() / "tts-voice-import-"};
    const fs::path root = directory.path();
    fs::path fill;
};

TEST_F(Import, AnyFormatBecomesTheSameClip) {
    // Samples a second, format, channels, peak, and whether that is too much for it.
    const std::tuple<const char *, int, int, int, double, bool> rows[] = {
        {"plain.wav", 16000, kWav, 1, 0.3, false},
        {"stereo.flac", 44100, kFlac, 2, 0.3, false},
        {"narrow.wav", 8000, SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1, 0.7, false},
        {"studio.aiff", 96000, SF_FORMAT_AIFF | SF_FORMAT_PCM_24, 2, 0.6, false},
        {"lossy.ogg", 44100, SF_FORMAT_OGG | SF_FORMAT_VORBIS, 1, 0.3, false},
        {"above.wav", 22050, kFloat, 1, 1.3, false},
        {"clipped.flac", 48000, kFlac, 2, 3, true},
    };
    for (const auto &[name, rate_hz, format, channels, peak, clipped] : rows) {
        SCOPED_TRACE(name);
        record(root / name, voice(300, rate_hz, peak), rate_hz, format, channels);
        EXPECT_EQ(read_recording(root / name).clipped, clipped);
        const samples clip = clip_of(root / name);
        EXPECT_NEAR(static_cast<double>(clip.size()) / 16, 20 + 300 + 12, 16);
        EXPECT_NEAR(median_of(pitch_track_hz(clip)), 220, 3);
        EXPECT_NEAR(active_level_dbfs(clip, kClipRateHz), -20, 0.5);
        EXPECT_LT(std::fabs(clip.front()) + std::fabs(clip.back()), 0.001F) << "not faded";
    }
}

TEST(ClipName, IsParsedOneWay) {
    const char *const kinds[] = {"syllable", "double",   "phrase", "pause",
                                 "english",  "greeting", "other"};
    const char *const places[] = {"first", "inside", "last"};
    const std::pair<const char *, const char *> rows[] = {
        // kind, syllables, place, tone; the reading
        {"pinyinRaw/hao3", "syllable hao3 last 3: hao3"},
        {"pinyinRaw/hao3_1", "syllable hao3 first 3: hao3"},
        {"pinyinRaw/lüe4_2", "syllable lüe4 inside 4: lüe4"},
        {"pinyinRaw/de", "syllable de last 5: de"},
        {"pinyinRaw/de5_2", "syllable de5 inside 5: de5"},
        {"pinyinRaw/m0", "syllable m0 last 5: m0"},
        {"pinyinRaw/ma1_ma1", "double ma1,ma1 last 0: ma1_ma1"},
        {"pinyinRaw/de_de", "double de,de last 0: de_de"},
        {"pinyinRaw/er4shi2wu3du4", "phrase er4,shi2,wu3,du4 last 0: er4shi2wu3du4"},
        {"pinyinRaw/san1shi2_1", "phrase san1,shi2 first 0: san1shi2"},
        {"pinyinRaw/de5hao3", "phrase de5,hao3 last 0: de5hao3"},
        {"pinyinRaw/zi5er5", "phrase zi5,er5 last 0: zi5er5"},
        {"pinyinRaw/er4de", "phrase er4,de last 0: er4de"},
        {"pinyinRaw/hao3_3", "other  last 0: hao3_3"},
        {"pinyinRaw/hao3_1_1", "other  last 0: hao3_1_1"},
        {"pinyinRaw/hao3_hao2", "other  last 0: hao3_hao2"},
        {"pinyinRaw/er4shi2_er4shi2", "other  last 0: er4shi2_er4shi2"},
        {"pinyinRaw/_1", "other  last 0: _1"},
        {"pinyinRaw/3hao", "other  last 0: 3hao"},
        {"pinyinRaw/", "other  last 0: "},
        {"hao3", "other  last 0: hao3"},
        {"pinyinRaw/pau_short", "pause  last 0: pau_short"},
        {"greetingRaw/pau_beg", "pause  last 0: pau_beg"},
        {"greetingRaw/hi_1.raw", "greeting  last 0: hi_1"},
        {"engRaw/hello.raw", "english  last 0: hello"},
        {"engRaw/pau_a1", "english  last 0: pau_a1"}};
    for (const auto &[file, expected] : rows) {
        const clip_name clip = parse_clip(file);
        EXPECT_EQ(kinds[static_cast<int>(clip.kind)] + (" " + joined(clip.syllables, ",")) + " " +
                      places[static_cast<int>(clip.place)] + " " + std::to_string(clip.tone) +
                      ": " + clip.reading,
                  expected)
            << file;
    }
}

TEST_F(Import, WhatIsNoUsableRecordingIsRefused) {
    samples click(8000), broken = voice(300, 16000);
    click[4000] = click[4001] = 0.9F;
    broken[5000] = std::numeric_limits<float>::quiet_NaN();
    samples huge = broken;
    huge[5000] = 1e30F;
    const std::tuple<const char *, samples, int, int, int> rows[] = {
        {"no sound in it", {}, 8000, kWav, 1},
        {"silent, its peak is -120", samples(8000), 8000, kWav, 1},
        {"too short, ", click, 16000, kWav, 1},
        {"too long, 11", voice(1100, 16000), 16000, kWav, 1},
        {"samples that are not numbers", broken, 16000, kFloat, 1},
        {"far over full scale", huge, 16000, kFloat, 1},
        {"3 channels", voice(300, 16000), 16000, kWav, 3},
        {"4000 samples a second", voice(300, 4000), 4000, kWav, 1},
        {"longer than 60 s", samples(60 * 8000), 8000, kWav, 1},
    };
    for (const auto &[part, sound, rate_hz, format, channels] : rows) {
        record(root / "a.wav", sound, rate_hz, format, channels);
        const std::string reason = refusal_of([&] { clip_of(root / "a.wav"); });
        EXPECT_NE(reason.find(part), std::string::npos) << part << ": " << reason;
    }
    record(root / "cut.flac", voice(300, 44100), 44100, kFlac);
    const std::string whole = read_file(root / "cut.flac");
    write_file(root / "cut.flac", whole.substr(0, whole.size() / 2));
    const std::string reason = refusal_of([&] { clip_of(root / "cut.flac"); });
    EXPECT_NE(reason.find("cannot be read to its end"), std::string::npos) << reason;
    // What a pipe got has no length in its header: 36 bits from the middle of byte 21 on.
    write_file(root / "piped.flac",
               std::string(whole).replace(21, 5, std::string("\xF0\0\0\0\0", 5)));
    EXPECT_FALSE(clip_of(root / "piped.flac").empty());
    for (const int type : {SF_FORMAT_WAV, SF_FORMAT_AIFF, SF_FORMAT_AU, SF_FORMAT_W64}) {
        SCOPED_TRACE(type);
        record(root / "cut", voice(300, 16000), 16000, type | SF_FORMAT_PCM_16);
        EXPECT_FALSE(read_recording(root / "cut").cut_off);
        write_file(root / "cut", read_file(root / "cut").substr(0, 16000));
        EXPECT_TRUE(read_recording(root / "cut").cut_off);
    }
}

// A recording that was cut already has no room in it, and loses nothing.
TEST_F(Import, BackgroundIsTrimmedSpeechIsNot) {
    samples cut = voice(300, 16000), noisy = voice(300, 16000, 0.3, 0.004);
    cut = samples(cut.begin() + 3200, cut.end() - 3200);
    for (const samples &sound : {cut, noisy, voice(300, 16000, 0.3, 0)}) {
        record(root / "a.wav", sound, 16000);
        const samples clip = clip_of(root / "a.wav", "pinyinRaw/hao4_2");
        EXPECT_NEAR(static_cast<double>(clip.size()) / 16, 310, 16);
    }
}

TEST_F(Import, WrongNamesAreRefusedTogether) {
    const std::pair<std::vector<std::string>, const char *> rows[] = {
        {{}, "no recordings in it"},
        {{"hao3_3.wav"}, "\"hao3_3\" is not a phone"},
        {{"pau_short.wav"}, "is not a phone"},
        {{"blockchain.wav"}, "new words go into english/"},
        {{"me.wav"}, "\"me\" can be pinyinRaw/me or engRaw/me.raw; put it into phones/"},
        {{"hao3.wav", "phones/hao3.flac"}, "is the same clip"},
        {{"mine/hao3.wav"}, "mine: a directory that is none of"},
        {{"x1.wav", "hao3.wav", "x2.wav", "x3.wav"}, "3 recording(s) cannot be used"},
    };
    for (const auto &[files, part] : rows) {
        fs::remove_all(root / "wav");
        fs::create_directory(root / "wav");
        for (const std::string &file : files) put("wav/" + file, "");
        const std::string reason = import_into(root / "voice");
        EXPECT_NE(reason.find(part), std::string::npos) << part << ": " << reason;
        EXPECT_FALSE(fs::exists(root / "voice"));
    }
    EXPECT_NE(import_into(root / "wav/../wav/voice").find("is inside"), std::string::npos);
    EXPECT_NE(import_into(root).find("wav is inside"), std::string::npos);
    fs::remove_all(root / "wav");
    EXPECT_NE(import_into(root / "voice").find("wav: No such file"), std::string::npos);
}

TEST_F(Import, AFewRecordingsAreAVoice) {
    record_all({"hao3_2", "phones/ni3", "phones/ni3_1.x", "tian1_tian1", "tian1_1",
                "english/blockchain", "english/usb", "welcome_ch", ".hidden"});
    fs::rename(root / "wav/phones/ni3_1.x.wav", root / "wav/phones/ni3_1.flac");
    ASSERT_EQ(import_into(root / "voice"), "");
    EXPECT_EQ(text("yinsu.txt"),
              "pau_none\npau_tiny\npau_short\npau_long\nhao3\nni3\nni3_1\ntian1\ntian1_tian1\n");
    EXPECT_EQ(text("eng_dict.txt"), "blockchain\nblockchain.raw\nusb\nusb.raw\n");
    EXPECT_EQ(text("dst_temperature.txt") + text("surname_pinyin_dural.txt"), "");
    for (const char *clip : {"pinyinRaw/hao3", "pinyinRaw/ni3_1", "engRaw/usb.raw"}) {
        EXPECT_TRUE(recorded(clip)) << clip;
    }
    const std::tuple<const char *, const char *, bool> rows[] = {
        {"pinyin_dict.txt", "你=ni3\n", true},
        {"pinyin_dict.txt", "=de\n", false},
        {"greetingRaw/greetings.ini", "welcome_ch.raw", true},
        {"greetingRaw/greetings.ini", "[attention]", true},  // requests name greetings by number
        {"greetingRaw/greetings.ini", "welcome_en.raw", false},
        {"missing.txt", "    1    6.0 %  phones/de_2 ", true},
        {"missing.txt", "phones/hao3_2 ", false},
        {"missing.txt", "phones/tian1_tian1 ", false},
        {"missing.txt", "/usb ", false}};
    for (const auto &[file, part, there] : rows) {
        EXPECT_EQ(text(file).find(part) != std::string::npos, there) << file << ": " << part;
    }
}

// Clips of the voice that fills are four bytes long.
TEST_F(Import, AnotherVoiceFillsWithoutBeingMixedIn) {
    const minimal_tree other;
    fill = other.root;
    std::string phones = "de\npau_short\nshe4shi2du4\ner4shi2du4\nshi2de5\ner4wu3\nma1_ma1\n";
    for (const char *name : {"er4", "shi2", "du4", "she4", "wu3", "ma1"}) {
        for (const char *place : {"", "_1", "_2"}) phones += std::string(name) + place + "\n";
    }
    std::map<std::string, std::string> files = {
        {"yinsu.txt", phones},
        {"pinyin_dict.txt", "的=de\n二=er4\n℃=she4shi2du4\n"},
        {"dst_temperature.txt", "二十度=er4shi2du4\n二五=er4wu3\n"},
        {"surname_pinyin_single.txt", "佘=she4\n"},
        {"surname_pinyin_dural.txt", "二十=er4shi2\n"},
        {"eng_dict.txt", "a\na.raw\nme\nme.raw\n"},
        {"greetingRaw/greetings.ini", "[default_config]\n[hi]\nch_name = hi.raw\n[hi:eng_name]\n"}};
    for (const char *clip : {"pinyinRaw/er4shi2_1", "engRaw/a.raw", "engRaw/me.raw",
                             "greetingRaw/hi.raw", "greetingRaw/pau_beg"}) {
        files[clip] = "\1\1\1\1";
    }
    for (const std::string &name : lines_of(phones)) files["pinyinRaw/" + name] = "\1\1\1\1";
    for (const auto &[name, bytes] : files) other.file(name, bytes);
    record_all({"de", "er4_2", "shi2", "du4_1", "she4", "ma1", "english/a", "greetings/hi"});
    ASSERT_EQ(import_into(root / "voice"), "");
    EXPECT_EQ(text("yinsu.txt"),
              "de\npau_short\nshe4shi2du4\ner4wu3\ner4\nshi2\ndu4\nshe4\nwu3\nwu3_1\nwu3_2\nma1\n");
    EXPECT_EQ(text("dst_temperature.txt"), "二五=er4wu3\n");
    for (const char *same : {"pinyin_dict.txt", "surname_pinyin_dural.txt", "eng_dict.txt"}) {
        EXPECT_EQ(text(same), files[same]);
    }
    for (const char *own : {"pinyinRaw/er4", "engRaw/a.raw", "greetingRaw/hi.raw"})
        EXPECT_TRUE(recorded(own)) << own;
    for (const char *filled : {"pinyinRaw/wu3", "engRaw/me.raw", "pinyinRaw/er4wu3"})
        EXPECT_EQ(text(filled), "\1\1\1\1");
    fs::remove(fill / "engRaw/me.raw");
    EXPECT_EQ(import_into(root / "another").rfind(fill.string() + " has 1 error(s)", 0), 0U);
}

TEST_F(Import, ScriptCountsWhatIsSpoken) {
    put("counts", "# comment\n的 50\n你 20\n好 20\n毫 10\n");
    put("greetings.ini", "[default_config]\n[hi]\neng_name = hi.raw\n");
    const voice_texts texts{
        {{"yinsu.txt", "de\nde_1\npau_short\nni3\nhao3\nhao2\nbie4\nhao3_hao3\n"},
         {"pinyin_dict.txt", "的=ni3\n的=de\n的=de\n你=ni3\n好=hao3\n毫=hao2\n脦=de\n"},
         {"eng_dict.txt", "usb\nu.raw,s.raw\n"},
         {"dst_temperature.txt", ""},
         {"surname_pinyin_single.txt", "单=shan4\n"},
         {"surname_pinyin_dural.txt", "单好=shan4hao3\n"}},
        root / "greetings.ini",
        {}};
    std::string rows;
    double spoken = 0;
    for (const recording &r : recordings_of(texts, root / "counts")) {
        if (r.part >= script_part::last) break;
        spoken += 100 * r.share;
        rows += r.folder[0] + ("/" + r.name) + " " + std::to_string(std::lround(spoken)) + ", ";
    }
    // 40 % are third tones. A 好 before one is spoken hao2; 你 has no such form here.
    EXPECT_EQ(rows,
              "p/de_2 50, p/ni3_2 70, p/hao2_2 88, p/hao3_2 100, g/hi 100, "
              "p/hao3_hao3 100, e/s 100, e/u 100, p/shan4hao3_1 100, p/bie4_2 100, "
              "p/shan4_2 100, ");
    EXPECT_EQ(text_characters(texts, root / "counts")[0].reading, "de");
    for (const char *wrong : {"的 many\n", "", "的 0\n"}) {
        put("counts", wrong);
        EXPECT_THROW(recordings_of(texts, root / "counts"), failure) << wrong;
    }
}

constexpr double kHighHz = 200;

// 300 ms whose pitch moves through `points`, in semitones over kHighHz.
samples glide(std::vector<double> points) {
    for (double &point : points) point = kHighHz * std::pow(2, point / 12);
    return voiced(300, points);
}

TEST(Contour, DistinguishesTheTones) {
    // The points of a glide, and the only tone that may pass; 0 for none.
    const std::tuple<const char *, std::vector<double>, int> rows[] = {
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
    for (const auto &[sound, points, only] : rows) {
        const std::vector<double> track = pitch_track_hz(glide(points));
        for (int tone = 1; tone <= 4; ++tone) {
            EXPECT_EQ(has_contour(track, tone, kHighHz), tone == only) << sound << ", as " << tone;
        }
    }
    for (const double semitones : {-12.0, 0.0, 7.0}) {
        const double hz = kHighHz * std::pow(2, semitones / 12);
        EXPECT_NEAR(median_of(pitch_track_hz(glide({semitones, semitones}))), hz, 0.01 * hz);
    }
    EXPECT_LT(pitch_track_hz(noise(300)).size(), 6U) << "noise was given a pitch";
    EXPECT_TRUE(pitch_track_hz(samples(4800)).empty()) << "silence was given a pitch";
    EXPECT_TRUE(pitch_track_hz({}).empty());
    EXPECT_FALSE(has_contour({}, 1, kHighHz));
}

TEST_F(Import, SourcesOfTheLexiconMayHoldAnything) {
    put("readings",
        "U+41\tkTGHZ2013\t1:a\nU+D800\tkTGHZ2013\t1:a\nU+597D\tkMandarin\thǎo "
        "hào\nU+91CD\tkMandarin\tzhòng chóng\n");
    put("overrides", "");
    for (const auto &[rows, lexicon] : {std::pair("好\thao\t1\n", "好=hao3\n重=zhong4\n"),
                                        {"重\tzhong\t-9\n重\tchong\t-5\n", "好=hao3\n重=chong2\n"},
                                        {"重\tchong\t-5\n", "好=hao3\n重=zhong4\n"}}) {
        put("weights", rows);
        EXPECT_EQ(make_lexicon({root / "readings", root / "weights", root / "overrides"}), lexicon);
    }
}

}  // namespace
