// tts-voice check: a tree without faults, one damage at a time, and the one finding it must give.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>

#include "check/findings.h"
#include "common/files.h"
#include "lists.h"
#include "support/minimal_tree.h"
#include "support/sounds.h"

using namespace tts_tools;
using namespace tts_voice;
namespace fs = std::filesystem;
using std::string;

namespace {

string sections_of_greetings(int count) {
    string sections;
    for (int i = 1; i <= count; ++i) {
        const string n = std::to_string(i);
        sections += "[g" + n + "]\nid=" + n + "\nch_name=hi_ch.raw\neng_name=hi_en.raw\n";
    }
    return sections;
}

using damage = std::function<void(const fs::path &)>;

damage holding(const string &content) {
    return [=](const fs::path &path) { write_file(path, content); };
}

damage scaled(samples sound, float factor, float offset) {
    for (float &sample : sound) sample = sample * factor + offset;
    fade(sound, 2, 5);
    return holding(to_pcm16(sound));
}

damage padded(samples sound, double front_ms, double back_ms) {
    sound.insert(sound.begin(), samples_in_ms(front_ms, kClipRateHz), 0);
    sound.resize(sound.size() + samples_in_ms(back_ms, kClipRateHz));
    return holding(to_pcm16(sound));
}

class VoiceCheck : public ::testing::Test {
  protected:
    VoiceCheck() {
        for (const char *clip : {"pinyinRaw/de", "pinyinRaw/ni2", "pinyinRaw/ni3", "pinyinRaw/wo1",
                                 "pinyinRaw/ni2_1", "pinyinRaw/ni2wo1_1", "pinyinRaw/wu3du4",
                                 "greetingRaw/hi_ch.raw", "greetingRaw/hi_en.raw"}) {
            clips[clip] = voiced(260, {120, 120});
        }
        for (int i = 0; i < 12; ++i) {
            const string letter(1, static_cast<char>('a' + i));
            clips["engRaw/" + letter + ".raw"] = voiced(240 + 8 * i, {118.0 + i, 118.0 + i});
            texts["eng_dict.txt"] += letter + "\n" + letter + ".raw\n";
        }
        clips["pinyinRaw/pau_short"] = clips["greetingRaw/pau_beg"] = samples(1280);
        for (const auto &[name, text] : texts) tree.file(name, text);
        for (const auto &[name, sound] : clips) tree.file(name, to_pcm16(sound));
    }

    // "code file:line" of every finding; `leftovers`: also of clips that lost their name.
    std::vector<string> found(bool leftovers = true) const {
        std::vector<string> all;
        for (const finding &f : check_tree(root).findings) {
            if (!leftovers && (f.code == "clip-unused" || f.code == "clip-without-phone")) continue;
            all.push_back(f.code + " " + f.file + (f.line > 0 ? ":" + std::to_string(f.line) : ""));
            EXPECT_FALSE(f.what.empty() || f.effect.empty() || f.fix.empty()) << f.code;
        }
        return all;
    }

    const minimal_tree tree;
    const fs::path root = tree.root;
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
    const struct {
        const char *finding, *from;  // nothing to replace: appended
        string to;
        string file = {};  // if not the one with the finding
    } rows[] = {
        {"carriage-return yinsu.txt:1", "de\npau", "de\r\npau"},
        {"byte-order-mark pinyin_dict.txt:1", "的", "\uFEFF的"},
        {"not-utf8 pinyin_dict.txt:4", "", "\xBA\xC3=de\n"},
        {"no-equals pinyin_dict.txt:4", "", "号wo1\n"},
        {"empty-line dst_temperature.txt:2", "", "\n"},
        {"duplicate-key pinyin_dict.txt:4", "", "窝=wo1\n"},
        {"key-unreachable pinyin_dict.txt:4", "", "𠅤=de\n"},
        {"key-unreachable pinyin_dict.txt:4", "", "好窝=de\n"},
        {"key-unreachable dst_temperature.txt:2", "", "5度=wu3du4\n"},
        {"key-unreachable eng_dict.txt:25", "", "Hello\na.raw\n"},
        {"phone-list-empty yinsu.txt", "de\npau_short\nni2\nni3\nwo1\nwu3du4\n", ""},
        {"phone-repeated yinsu.txt:5", "ni3\n", "ni3\nde\n"},
        {"last-phone-repeated yinsu.txt:7", "", "de\n"},
        {"empty-line yinsu.txt:5", "ni3\n", "ni3\n\n"},
        {"phone-without-clip yinsu.txt:2", "de\n", "de\nma1\n"},
        {"reading-not-phone pinyin_dict.txt:4", "", "号=hao3\n"},
        {"reading-not-phone pinyin_dict.txt:4", "", "号=\n"},
        {"reading-completed pinyin_dict.txt:4", "", "我=wo\n"},
        {"third-tone-without-second pinyin_dict.txt:2", "ni2\nni3", "ni3", "yinsu.txt"},
        {"surname-without-clip surname_pinyin_single.txt:2", "", "任=ren2\n"},
        {"surname-plain-clip surname_pinyin_single.txt:2", "", "任=wo1\n"},
        {"surname-without-clip surname_pinyin_dural.txt:2", "", "任何=ni3\n"},
        {"phrase-too-many-names dst_temperature.txt:2", "", "度=wu3du4 de\n"},
        {"phrase-without-names dst_temperature.txt:2", "", "零度=\n"},
        {"phrase-name-not-phone dst_temperature.txt:2", "", "零度=ni3  de\n"},
        {"phrase-hides-others dst_temperature.txt:2", "", "度c=wu3du4\n"},
        {"english-odd-lines eng_dict.txt:25", "", "hello\n"},
        {"english-blank-line eng_dict.txt:5", "c\nc.raw", "\nc\nc.raw"},
        {"english-blank-line eng_dict.txt:26", "", "hello\n\n"},
        {"empty-line eng_dict.txt:25", "", "\n\n"},
        {"english-piece-missing eng_dict.txt:26", "", "hello\na.raw,hello\n"},
        {"greetings-unreadable greetingRaw/greetings.ini:6", "[hi]", "hi"},
        {"greetings-first-section greetingRaw/greetings.ini:1", "[default_config]", "[default]"},
        {"greetings-too-many greetingRaw/greetings.ini", "", sections_of_greetings(64)},
        {"greeting-key-misspelt greetingRaw/greetings.ini:4", "defaule_pos", "Default_Pos"},
        {"greeting-key-misspelt greetingRaw/greetings.ini:10", "", "en_name=x\n"},
        {"greeting-name-long greetingRaw/greetings.ini:8", "hi_ch.raw", string(32, 'x')},
        {"greeting-without-clip greetingRaw/greetings.ini:9", "hi_en.raw", "hi_en"},
        {"greeting-without-name greetingRaw/greetings.ini:10", "", "[ho]\neng_name=hi_en.raw\n"},
        {"greeting-id greetingRaw/greetings.ini:7", "\nid = 0", "\nid = 7"},
        {"greeting-default greetingRaw/greetings.ini:5", "default_id = 0", "default_id = 1"},
        {"conflicting-key greetingRaw/greetings.ini:10", "", "id=0\n"},
    };
    for (const auto &row : rows) {
        const string place = string(row.finding).substr(string(row.finding).find(' ') + 1);
        const string file = row.file.empty() ? place.substr(0, place.find(':')) : row.file;
        const string before = texts.at(file);
        const size_t at = *row.from == '\0' ? before.size() : before.find(row.from);
        ASSERT_NE(at, string::npos) << row.finding;
        write_file(root / file, string(before).replace(at, string(row.from).size(), row.to));
        EXPECT_EQ(found(false), std::vector<string>{row.finding}) << row.to;
        write_file(root / file, before);
    }
}

// Each row moves a file away and may put something else in its place.
TEST_F(VoiceCheck, EveryDamageOfAFileIsNamedAlone) {
    const samples whole = clips["pinyinRaw/ni3"];
    const string windows_lines =
        "[default_config]\r\n; \xBA\xC3\r\n[hi]\r\nid = 0\r\nch_name = hi_ch.raw\r\n"
        "eng_name = hi_en.raw\r\n";
    const string bytes = to_pcm16(whole);
    const auto at_rate = [&](int hz) {
        return holding(to_pcm16(resampler(kClipRateHz, hz)(clips["engRaw/f.raw"])));
    };
    samples clipped = whole;
    std::fill_n(clipped.begin() + 900, 4, 1.0F);
    const damage nothing = [](const fs::path &) {};
    const damage directory_there = [](const fs::path &path) { make_directory(path); };
    const damage huge = [](const fs::path &path) {
        write_file(path, "");
        fs::resize_file(path, uintmax_t{1} << 31);
    };
    const std::tuple<const char *, const char *, damage> rows[] = {
        // no code: still clean
        {"pinyinRaw/ni3", "clip-empty", holding("")},
        {"pinyinRaw/ni3", "clip-silent", scaled(whole, 0, 0)},
        {"pinyinRaw/ni3", "clip-clipping", holding(to_pcm16(clipped))},
        {"pinyinRaw/ni3", "clip-dc-offset", scaled(whole, 1, 0.02F)},
        {"pinyinRaw/ni3", "", scaled(whole, 1, 0.005F)},
        {"pinyinRaw/ni3", "clip-edge-silence", padded(whole, 0, 150)},
        {"pinyinRaw/ni3", "", padded(whole, 50, 0)},
        {"pinyinRaw/ni3", "clip-edge-step", holding(bytes.substr(0, 2 * 2060))},
        {"pinyinRaw/ni3", "clip-loudness", scaled(whole, 0.3F, 0)},
        {"pinyinRaw/ni3", "clip-odd-bytes", holding(bytes + "x")},
        {"pinyinRaw/ni3", "clip-header", holding("RIFF" + bytes)},
        {"pinyinRaw/ni3", "clip-unreadable", huge},
        {"pinyinRaw/ma1", "clip-without-phone", holding(bytes)},
        {"engRaw/b", "clip-unused", holding(bytes)},
        {"engRaw/f.raw", "clip-rate", at_rate(8000)},
        {"engRaw/f.raw", "", at_rate(15000)},
        {"greetingRaw/pau_beg", "leading-pause-long", holding(string(2 * 16 * 680, '\0'))},
        {"greetingRaw/pau_beg", "leading-pause-missing", nothing},
        {"pinyinRaw/pau_short", "short-pause-missing", directory_there},
        {"yinsu.txt", "file-missing", nothing},
        {"pinyin_dict.txt", "file-unreadable", directory_there},
        {"greetingRaw/greetings.ini", "greetings-first-section", holding("")},
        {"greetingRaw/greetings.ini", "", holding(windows_lines)},
        {"pinyinRaw", "directory-missing", nothing},
    };
    for (const auto &[file, code, put] : rows) {
        const fs::path path = root / file, kept = root / "kept";
        const bool exists = fs::exists(path);
        if (exists) fs::rename(path, kept);
        put(path);
        const std::vector<string> finding = {string(code) + " " + file};
        EXPECT_EQ(found(), *code != '\0' ? finding : std::vector<string>{}) << file;
        fs::remove_all(path);
        if (exists) fs::rename(kept, path);
    }
}

TEST_F(VoiceCheck, TakesTheValueThatTheEngineTakes) {
    write_file(root / "pinyin_dict.txt", texts["pinyin_dict.txt"] + "窝=de\n");
    write_file(root / "eng_dict.txt", texts["eng_dict.txt"] + "b\na.raw\n");
    const check_result result = check_tree(root);
    ASSERT_EQ(found(), (std::vector<string>{"conflicting-key pinyin_dict.txt:4",
                                            "conflicting-key eng_dict.txt:25"}));
    EXPECT_EQ(result.findings[0].what,
              "窝 is in the file twice: wo1 in line 3, de here; de is taken");
    EXPECT_EQ(result.findings[1].what,
              "b is in the file twice: b.raw in line 3, a.raw here; b.raw is taken");
}

TEST_F(VoiceCheck, ReportsForPeopleAndForPrograms) {
    string bad;
    for (int i = 0; i < 12; ++i) bad += "m" + std::to_string(i) + "\n";
    const auto run = [&](bool json) {
        testing::internal::CaptureStdout();
        const int status = run_check({root, json});
        return std::pair(status, testing::internal::GetCapturedStdout());
    };
    write_file(root / "pinyin_dict.txt", texts["pinyin_dict.txt"] + "\n");
    EXPECT_EQ(run(false).first, 0) << "a warning is not an error";
    write_file(root / "yinsu.txt", bad + texts["yinsu.txt"]);
    const auto [status, text] = run(false);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(text.rfind("error phone-without-clip\n  yinsu.txt:1: no clip pinyinRaw/m0\n", 0), 0U);
    EXPECT_NE(text.find("m9\n  and 2 more\n  effect: "), string::npos) << text;
    EXPECT_NE(text.find("\nwarning empty-line\n  pinyin_dict.txt:4: "), string::npos) << text;
    EXPECT_NE(text.find(": 12 error(s), 1 warning(s); 23 clips"), string::npos) << text;
    const auto report = nlohmann::json::parse(run(true).second);
    EXPECT_EQ(report["errors"], 12);
    EXPECT_EQ(report["findings"][11]["line"], 12);
    EXPECT_EQ(report["findings"].at(12)["level"], "warning");
    EXPECT_EQ(run_check({root / "none", false}), 2);
}

}  // namespace
