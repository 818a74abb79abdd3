// tts-voice check: a tree without faults, one damage at a time, and the one finding it must give.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>

#include "check_report.h"
#include "clip.h"
#include "files.h"

using namespace tts_voice;
namespace fs = std::filesystem;
using std::string;

namespace {

samples tone(double ms, double hz) {
    samples sound(samples_in_ms(ms, kClipRateHz));
    for (size_t i = 0; i < sound.size(); ++i) {
        double value = 0;
        for (int k = 1; k <= 8; ++k) {
            value += 0.3 / k * std::sin(2 * 3.14159265 * k * hz * static_cast<double>(i) / 16000);
        }
        sound[i] = static_cast<float>(value);
    }
    fade(sound, 2, 5);
    return sound;
}

bool is_leftover(const string &finding) {
    return finding.rfind("clip-unused", 0) == 0 || finding.rfind("clip-without-phone", 0) == 0;
}

class VoiceCheck : public ::testing::Test {
  protected:
    VoiceCheck() {
        for (const char *name : {"pinyinRaw", "engRaw", "greetingRaw"}) make_directory(root / name);
        for (const char *clip : {"pinyinRaw/de", "pinyinRaw/ni2", "pinyinRaw/ni3", "pinyinRaw/wo1",
                                 "pinyinRaw/ni2_1", "pinyinRaw/ni2wo1_1", "pinyinRaw/wu3du4",
                                 "greetingRaw/hi_ch.raw", "greetingRaw/hi_en.raw"}) {
            clips[clip] = tone(260, 120);
        }
        for (int i = 0; i < 12; ++i) {
            const string letter(1, static_cast<char>('a' + i));
            clips["engRaw/" + letter + ".raw"] = tone(240 + 8 * i, 118 + i);
            texts["eng_dict.txt"] += letter + "\n" + letter + ".raw\n";
        }
        clips["pinyinRaw/pau_short"] = clips["greetingRaw/pau_beg"] = samples(1280);
        for (const auto &[name, text] : texts) write_file(root / name, text);
        for (const auto &[name, sound] : clips) write_file(root / name, to_pcm16(sound));
    }

    // "code file:line" of every finding.
    std::vector<string> found() const {
        std::vector<string> all;
        for (const finding &f : check_tree(root).findings) {
            all.push_back(f.code + " " + f.file + (f.line > 0 ? ":" + std::to_string(f.line) : ""));
            EXPECT_FALSE(f.what.empty() || f.heard.empty() || f.mend.empty()) << f.code;
        }
        return all;
    }

    const temporary_directory directory{fs::temp_directory_path() / "tts-voice-check-"};
    const fs::path root = directory.path();
    std::map<string, string> texts = {
        {"yinsu.txt", "de\npau_short\nni2\nni3\nwo1\nwu3du4\n"},
        {"pinyin_dict.txt", "的=de\n你=ni3\n窝=wo1\n"},
        {"surname_pinyin_single.txt", "倪=ni2\n"},
        {"surname_pinyin_dural.txt", "倪窝=ni2wo1\n"},
        {"dst_temperature.txt", "五度=wu3du4\n"},
        {"greetingRaw/greetings.ini",
         "[default_config]\ndefault_language = 0\ndefault_num = 1\ndefaule_pos = 0\n"
         "default_id = 0\n[hi]\nid = 0\nch_name = hi_ch.raw\neng_name = hi_en.raw\n"}};
    std::map<string, samples> clips;
};

TEST_F(VoiceCheck, CleanTree) {
    const check_result result = check_tree(root);
    EXPECT_EQ(found(), std::vector<string>{});
    EXPECT_EQ(result.clips, clips.size());
    EXPECT_EQ(result.greeting_bytes, 2U * 2 * 4160);
    EXPECT_GT(result.lexicon_bytes, 20U * 10 * sizeof(void *));
    EXPECT_THROW(check_tree(root / "none"), failure);
}

TEST_F(VoiceCheck, EveryDamageOfATextIsNamedAlone) {
    constexpr char kAppend[] = "";
    string many;
    for (int i = 1; i <= 64; ++i) {
        const string n = std::to_string(i);
        many += "[g" + n + "]\nid=" + n + "\nch_name=hi_ch.raw\neng_name=hi_en.raw\n";
    }
    const struct {
        const char *file, *from;
        string to;
        const char *finding;
    } rows[] = {
        {"yinsu.txt", "de\npau", "de\r\npau", "carriage-return yinsu.txt:1"},
        {"pinyin_dict.txt", "ni3\n窝", "ni3\r\n窝", "carriage-return pinyin_dict.txt:2"},
        {"yinsu.txt", "de",
         "\xEF\xBB\xBF"
         "de",
         "byte-order-mark yinsu.txt:1"},
        {"pinyin_dict.txt", "的", "\xEF\xBB\xBF的", "byte-order-mark pinyin_dict.txt:1"},
        {"pinyin_dict.txt", kAppend, "\xBA\xC3=de\n", "not-utf8 pinyin_dict.txt:4"},
        {"pinyin_dict.txt", kAppend, "\xED\xA0\x80=de\n", "not-utf8 pinyin_dict.txt:4"},
        {"yinsu.txt", "de", "\xC0\xAF\nde", "not-utf8 yinsu.txt:1"},
        {"pinyin_dict.txt", kAppend, "号wo1\n", "no-equals pinyin_dict.txt:4"},
        {"dst_temperature.txt", kAppend, "\n", "empty-line dst_temperature.txt:2"},
        {"pinyin_dict.txt", kAppend, "窝=wo1\n", "duplicate-key pinyin_dict.txt:4"},
        {"pinyin_dict.txt", kAppend, "窝=de\n", "conflicting-key pinyin_dict.txt:4"},
        {"eng_dict.txt", kAppend, "a\nb.raw\n", "conflicting-key eng_dict.txt:25"},
        {"eng_dict.txt", kAppend, "a\na.raw\n", "duplicate-key eng_dict.txt:25"},
        {"pinyin_dict.txt", kAppend, "𠅤=de\n", "key-unreachable pinyin_dict.txt:4"},
        {"pinyin_dict.txt", kAppend, "好窝=de\n", "key-unreachable pinyin_dict.txt:4"},
        {"pinyin_dict.txt", kAppend, "22909=de\n", "key-unreachable pinyin_dict.txt:4"},
        {"surname_pinyin_single.txt", kAppend, "é=ni2\n",
         "key-unreachable surname_pinyin_single.txt:2"},
        {"surname_pinyin_dural.txt", kAppend, "倪=ni2\n",
         "key-unreachable surname_pinyin_dural.txt:2"},
        {"dst_temperature.txt", kAppend, "5度=wu3du4\n", "key-unreachable dst_temperature.txt:2"},
        {"eng_dict.txt", kAppend, "Hello\na.raw\n", "key-unreachable eng_dict.txt:25"},
        {"eng_dict.txt", kAppend, "don't\na.raw\n", "key-unreachable eng_dict.txt:25"},
        {"yinsu.txt", "de\npau_short\nni2\nni3\nwo1\nwu3du4\n", "", "phone-list-empty yinsu.txt"},
        {"yinsu.txt", "ni3\n", "ni3\nde\n", "phone-repeated yinsu.txt:5"},
        {"yinsu.txt", kAppend, "de\n", "last-phone-repeated yinsu.txt:7"},
        {"yinsu.txt", "ni3\n", "ni3\n\n", "empty-line yinsu.txt:5"},
        {"yinsu.txt", "de\n", "de\nma1\n", "phone-without-clip yinsu.txt:2"},
        {"pinyin_dict.txt", kAppend, "号=hao3\n", "reading-not-phone pinyin_dict.txt:4"},
        {"pinyin_dict.txt", kAppend, "号=hao\n", "reading-not-phone pinyin_dict.txt:4"},
        {"pinyin_dict.txt", kAppend, "号=\n", "reading-not-phone pinyin_dict.txt:4"},
        {"pinyin_dict.txt", kAppend, "我=wo\n", "reading-completed pinyin_dict.txt:4"},
        {"yinsu.txt", "ni2\nni3", "ni3", "third-tone-without-second pinyin_dict.txt:2"},
        {"surname_pinyin_single.txt", kAppend, "任=ren2\n",
         "surname-without-clip surname_pinyin_single.txt:2"},
        {"surname_pinyin_single.txt", kAppend, "任=wo1\n",
         "surname-plain-clip surname_pinyin_single.txt:2"},
        {"surname_pinyin_dural.txt", kAppend, "任何=ni3\n",
         "surname-without-clip surname_pinyin_dural.txt:2"},
        {"dst_temperature.txt", kAppend, "度=wu3du4 de\n",
         "phrase-too-many-names dst_temperature.txt:2"},
        {"dst_temperature.txt", kAppend, "零度=\n", "phrase-without-names dst_temperature.txt:2"},
        {"dst_temperature.txt", kAppend, "零点度=ni3  de\n",
         "phrase-name-not-phone dst_temperature.txt:2"},
        {"dst_temperature.txt", kAppend, "零度=ling2du4\n",
         "phrase-name-not-phone dst_temperature.txt:2"},
        {"dst_temperature.txt", kAppend, "度c=wu3du4\n",
         "phrase-hides-others dst_temperature.txt:2"},
        {"dst_temperature.txt", kAppend, "abc=wu3du4\n",
         "phrase-hides-others dst_temperature.txt:2"},
        {"eng_dict.txt", kAppend, "hello\n", "english-odd-lines eng_dict.txt:25"},
        {"eng_dict.txt", "c\nc.raw", "\nc\nc.raw", "english-blank-line eng_dict.txt:5"},
        {"eng_dict.txt", kAppend, "hello\na.raw,hello\n", "english-piece-missing eng_dict.txt:26"},
        {"greetingRaw/greetings.ini", "[hi]", "hi",
         "greetings-unreadable greetingRaw/greetings.ini:6"},
        {"greetingRaw/greetings.ini", "[default_config]", "[default]",
         "greetings-first-section greetingRaw/greetings.ini:1"},
        {"greetingRaw/greetings.ini", kAppend, many,
         "greetings-too-many greetingRaw/greetings.ini"},
        {"greetingRaw/greetings.ini", "defaule_pos", "Default_Pos",
         "greeting-key-misspelt greetingRaw/greetings.ini:4"},
        {"greetingRaw/greetings.ini", kAppend, "en_name=x\n",
         "greeting-key-misspelt greetingRaw/greetings.ini:10"},
        {"greetingRaw/greetings.ini", "hi_ch.raw", string(32, 'x'),
         "greeting-name-long greetingRaw/greetings.ini:8"},
        {"greetingRaw/greetings.ini", "hi_en.raw", "hi_en",
         "greeting-without-clip greetingRaw/greetings.ini:9"},
        {"greetingRaw/greetings.ini", kAppend, "[ho]\neng_name=hi_en.raw\n",
         "greeting-without-name greetingRaw/greetings.ini:10"},
        {"greetingRaw/greetings.ini", "\nid = 0", "\nid = 7",
         "greeting-id greetingRaw/greetings.ini:7"},
        {"greetingRaw/greetings.ini", "default_id = 0", "default_id = 1",
         "greeting-default greetingRaw/greetings.ini:5"},
        {"greetingRaw/greetings.ini", "default_language = 0", "default_language = 2",
         "greeting-default greetingRaw/greetings.ini:2"},
        {"greetingRaw/greetings.ini", kAppend, "id=0\n",
         "conflicting-key greetingRaw/greetings.ini:10"},
    };
    for (const auto &row : rows) {
        const string before = texts[row.file];
        const size_t at = *row.from == '\0' ? before.size() : before.find(row.from);
        ASSERT_NE(at, string::npos) << row.finding;
        write_file(root / row.file, string(before).replace(at, string(row.from).size(), row.to));
        // A name taken out leaves its clip behind, which is not the point here.
        std::vector<string> findings = found();
        findings.erase(std::remove_if(findings.begin(), findings.end(), is_leftover),
                       findings.end());
        EXPECT_EQ(findings, std::vector<string>{row.finding}) << row.file << " with " << row.to;
        write_file(root / row.file, before);
    }
}

TEST_F(VoiceCheck, EveryDamageOfAClipIsNamedAlone) {
    const auto at_rate = [](int hz) {
        return [hz](const samples &sound) { return resampler(kClipRateHz, hz)(sound); };
    };
    const auto with_silence = [](bool in_front, double ms) {
        return [=](samples sound) {
            const auto place = in_front ? sound.begin() : sound.end();
            sound.insert(place, samples_in_ms(ms, kClipRateHz), 0.0F);
            return sound;
        };
    };
    const auto times = [](float factor) {
        return [=](samples sound) {
            for (float &sample : sound) sample *= factor;
            return sound;
        };
    };
    const auto plus = [](float offset) {
        return [=](samples sound) {
            for (float &sample : sound) sample += offset;
            fade(sound, 2, 5);
            return sound;
        };
    };
    const auto clipped = [](samples sound) {
        std::fill_n(sound.begin() + 900, 4, 1.0F);
        return sound;
    };
    const auto cut_off = [](const samples &sound) {
        return samples(sound.begin(), sound.begin() + 2060);
    };
    const struct {
        const char *clip, *code;  // no code: still clean
        std::function<samples(const samples &)> damage;
    } rows[] = {
        {"pinyinRaw/ni3", "clip-empty", [](const samples &) { return samples(); }},
        {"pinyinRaw/ni3", "clip-silent", times(0)},
        {"pinyinRaw/ni3", "clip-clipping", clipped},
        {"pinyinRaw/ni3", "clip-dc-offset", plus(0.02F)},
        {"pinyinRaw/ni3", "", plus(0.005F)},
        {"pinyinRaw/ni3", "clip-edge-silence", with_silence(true, 150)},
        {"pinyinRaw/ni3", "clip-edge-silence", with_silence(false, 150)},
        {"pinyinRaw/ni3", "", with_silence(true, 50)},
        {"pinyinRaw/ni3", "clip-edge-step", cut_off},
        {"pinyinRaw/ni3", "clip-loudness", times(0.3F)},
        {"pinyinRaw/ni3", "", times(0.7F)},
        {"engRaw/f.raw", "clip-rate", at_rate(8000)},
        {"engRaw/f.raw", "clip-rate", at_rate(22050)},
        {"engRaw/f.raw", "clip-rate", at_rate(44100)},
        {"engRaw/f.raw", "", at_rate(15000)},
        {"greetingRaw/pau_beg", "leading-pause-long", with_silence(false, 600)},
    };
    for (const auto &row : rows) {
        write_file(root / row.clip, to_pcm16(row.damage(clips[row.clip])));
        std::vector<string> expected;
        if (*row.code != '\0') expected.push_back(string(row.code) + " " + row.clip);
        EXPECT_EQ(found(), expected) << "row " << &row - rows;
        write_file(root / row.clip, to_pcm16(clips[row.clip]));
    }
}

// Each row moves a file away and may put something else in its place.
TEST_F(VoiceCheck, EveryDamageOfTheTreeIsNamedAlone) {
    const auto nothing = [](const fs::path &) {};
    const auto directory_there = [](const fs::path &path) { make_directory(path); };
    const auto bytes = [](const string &content) {
        return [=](const fs::path &path) { write_file(path, content); };
    };
    const string sound = to_pcm16(clips["pinyinRaw/ni3"]);
    const auto huge = [](const fs::path &path) {
        write_file(path, "");
        fs::resize_file(path, uintmax_t{1} << 31);
    };
    const struct {
        const char *file, *code;
        std::function<void(const fs::path &)> damage;
    } rows[] = {
        {"yinsu.txt", "file-missing", nothing},
        {"eng_dict.txt", "file-missing", nothing},
        {"surname_pinyin_single.txt", "file-missing", nothing},
        {"greetingRaw/greetings.ini", "file-missing", nothing},
        {"pinyin_dict.txt", "file-unreadable", directory_there},
        {"yinsu.txt", "file-unreadable", directory_there},
        {"eng_dict.txt", "file-unreadable", directory_there},
        {"greetingRaw/greetings.ini", "file-unreadable", directory_there},
        {"pinyinRaw", "directory-missing", nothing},
        {"engRaw", "directory-missing", nothing},
        {"greetingRaw", "directory-missing", nothing},
        {"pinyinRaw/pau_short", "short-pause-missing", directory_there},
        {"greetingRaw/pau_beg", "leading-pause-missing", nothing},
        {"greetingRaw/greetings.ini", "greetings-first-section", bytes("")},
        {"pinyinRaw/ni3", "clip-odd-bytes", bytes(sound + "x")},
        {"pinyinRaw/ni3", "clip-header", bytes("RIFF" + sound)},
        {"pinyinRaw/ni3", "clip-unreadable", huge},
        {"pinyinRaw/ma1", "clip-without-phone", bytes(sound)},
        {"engRaw/b", "clip-unused", bytes(sound)},
        {"greetingRaw/old/hi.raw", "clip-unused", bytes(sound)},
    };
    make_directory(root / "greetingRaw/old");
    for (const auto &row : rows) {
        const fs::path path = root / row.file, kept = root / "kept";
        const bool exists = fs::exists(path);
        if (exists) fs::rename(path, kept);
        row.damage(path);
        EXPECT_EQ(found(), std::vector<string>{string(row.code) + " " + row.file});
        fs::remove_all(path);
        if (exists) fs::rename(kept, path);
    }
}

TEST_F(VoiceCheck, TakesTheValueThatTheEngineTakes) {
    write_file(root / "pinyin_dict.txt", texts["pinyin_dict.txt"] + "窝=de\n");
    write_file(root / "eng_dict.txt", texts["eng_dict.txt"] + "b\na.raw\n");
    const check_result result = check_tree(root);
    ASSERT_EQ(result.findings.size(), 2U);
    EXPECT_EQ(
        text_of(result.findings[0]),
        "pinyin_dict.txt:4: 窝 stands in the file twice: wo1 in line 3, de here; de is taken");
    EXPECT_EQ(text_of(result.findings[1]),
              "eng_dict.txt:25: b stands in the file twice: b.raw in line 3, a.raw here; b.raw is "
              "taken");
}

TEST_F(VoiceCheck, ReportsForPeopleAndForPrograms) {
    string bad, warned = texts["pinyin_dict.txt"] + "\n";
    for (int i = 0; i < 12; ++i) bad += "m" + std::to_string(i) + "\n";
    const auto run = [&](bool json) {
        testing::internal::CaptureStdout();
        const int status = run_check({root, json});
        return std::pair(status, testing::internal::GetCapturedStdout());
    };
    EXPECT_EQ(run(false).first, 0);
    write_file(root / "pinyin_dict.txt", warned);
    EXPECT_EQ(run(false).first, 0) << "a warning is no error";
    write_file(root / "yinsu.txt", bad + texts["yinsu.txt"]);
    const auto [status, text] = run(false);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(text.rfind("error phone-without-clip\n  yinsu.txt:1: no clip pinyinRaw/m0\n", 0), 0U);
    EXPECT_NE(text.find("m9\n  and 2 more\n  heard: "), string::npos) << text;
    EXPECT_NE(text.find("\nwarning empty-line\n  pinyin_dict.txt:4: "), string::npos) << text;
    EXPECT_NE(text.find(": 12 error(s), 1 warning(s); 23 clips"), string::npos) << text;
    const auto report = nlohmann::json::parse(run(true).second);
    EXPECT_EQ(report["errors"], 12);
    EXPECT_EQ(report["findings"].size(), 13U);
    EXPECT_EQ(report["findings"][11]["line"], 12);
    EXPECT_EQ(report["findings"][12]["level"], "warning");
    testing::internal::CaptureStderr();
    EXPECT_EQ(run_check({root / "none", false}), 2);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("none: No such file"), string::npos);
}

}  // namespace
