// What holds for any text and any tree: random ones, with fixed seeds.
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

#include "phones.h"
#include "tiny_voice.h"

namespace {

class Any : public TinyVoice {
  protected:
    int below(int n) { return static_cast<int>(generator() % static_cast<unsigned>(n)); }
    bool chance(int percent) { return below(100) < percent; }
    const std::string &one_of(const strings &list, int but_last = 0) {
        return list[static_cast<size_t>(below(static_cast<int>(list.size()) - but_last))];
    }
    std::string text_of(const strings &pieces, int longest) {
        std::string text;
        for (int n = below(longest + 1); n > 0; n--) text += one_of(pieces);
        return text;
    }
    std::mt19937 generator{20240229};
};

}  // namespace

// Runs of letters are found between any bytes; characters of three bytes between all but stray
// bytes, which swallow what is behind them.
TEST_F(Any, TextIsCutAtItsCharacters) {
    static const strings pieces = {"你", "。", "é",    "ß",    " ",   "7",
                                   "q",  "az", "\x80", "\xe4", "\xff"};
    for (int run = 0; run < 5000; run++) {
        const bool stray = chance(50);
        std::string text, expected, cut;
        for (int n = below(12); n > 0; n--) {
            const std::string piece = one_of(pieces, stray ? 0 : 3);
            const bool word = !text.empty() && std::isalpha(text.back()) != 0;
            if (std::isalpha(piece[0]) != 0) expected += (word ? "" : "|") + piece;
            if (piece.size() == 3 && !stray) expected += "|" + piece;
            text += piece;
        }
        int index = 0;
        size_t at = 0;
        for (const auto &segment : split_ch_eng(text)) {
            at = text.find(segment.str, at);
            ASSERT_NE(at, std::string::npos) << text;
            at += segment.str.size();
            ASSERT_EQ(segment.index, index++);
            ASSERT_TRUE(segment.type == 0 || segment.str.size() == 3) << text;
            if (segment.type == 0 || !stray) cut += "|" + segment.str;
        }
        ASSERT_EQ(cut, expected) << text;
        log_lines.clear();
    }
}

TEST_F(Any, DigitsAreAllInNumbersButAFinalNine) {
    static const strings pieces = {"0", "1", "5", "8", "9", ".", "-", "a", "度", "年"};
    for (int run = 0; run < 5000; run++) {
        const std::string text = text_of(pieces, 12);
        std::string expected, taken;
        for (const char c : text) expected += std::isdigit(c) != 0 ? std::string(1, c) : "";
        if (!text.empty() && text.back() == '9') expected.pop_back();
        for (const auto &number : getNumStrArray(text)) {
            ASSERT_TRUE(number.empty() || number.back() != '.') << text;
            for (const char c : number) taken += c != '.' ? std::string(1, c) : "";
        }
        ASSERT_EQ(taken, expected) << text;
        log_lines.clear();
    }
}

TEST_F(Any, PhoneIndexAnswersLikeTheList) {
    static const strings names = {"a", "b", "ma", "ma1", "ma1_2", "", "z"};
    for (int run = 0; run < 2000; run++) {
        phone_list list = {one_of(names, 1)};
        for (int n = below(7); n > 0; n--) list.push_back(one_of(names, 1));
        const phone_index index = index_phones(list);
        const phone_view scanned(list), indexed(list, index);
        for (const auto &name : names) {
            ASSERT_EQ(indexed.lists(name), scanned.lists(name)) << name;
            ASSERT_EQ(indexed.is_phone(name), scanned.is_phone(name)) << name;
            ASSERT_EQ(indexed.last_names_before(name), scanned.last_names_before(name)) << name;
        }
    }
}

// Whatever is missing or contradictory in the tree: the image holds whole clips, and every clip is
// released, also when the request ends in an exception. speak() looks at the counters.
TEST_F(Any, RequestReleasesWhatItLoads) {
    static const strings characters = {"天", "五", "度", "单", "欧", "阳", "。"};
    static const strings readings = {"tian1", "wu3", "du4", "hao3", "de", "error", "", "m"};
    static const strings words = {"hi", "oh"};
    strings names = {"wu2",   "wu2_1",   "wu2_2",     "hao2",    "de1", "wu3_1",
                     "wu3_2", "wu3_wu3", "hao3_hao3", "tian1_2", "x"};
    names.insert(names.end(), readings.begin(), readings.end() - 3);
    strings pieces = {
        "hi", "OH", "hi", "25", "-5", "000", "1.5", "2024", " ", "é", "\xf0\x9f\x98\x80"};
    for (int n = 0; n < 4; n++) pieces.insert(pieces.end(), characters.begin(), characters.end());
    int exceptions = 0, failures = 0, spoken = 0;
    for (int tree = 0; tree < 60; tree++) {
        std::string dict, single, dural, temp, english, inventory;
        for (const auto &c : characters) {
            if (chance(85)) dict += c + "=" + one_of(readings) + "\n";
            if (chance(15)) single += c + "=" + one_of(readings) + "\n";
            if (chance(30)) dural += c + one_of(characters) + "=" + one_of(readings) + "\n";
        }
        for (const char *number : {"二", "十", "零", "一", "点"})
            dict += std::string(number) + "=x\n";
        for (int n = below(5); n > 0; n--) {
            temp +=
                text_of(characters, 3) + "=" + text_of({"wu3 ", "hao3 ", "x ", "none "}, 5) + "\n";
        }
        for (const auto &word : words)
            english += word + "\n" + text_of({"a", "b", "none", ","}, 6) + "\n";
        for (const auto &name : names) {
            if (chance(80)) inventory += name + "\n";
            std::filesystem::remove(root + "pinyinRaw/" + name);
            std::filesystem::remove(root + "pinyinRaw/" + name + "_1");
            if (chance(85)) clips("pinyinRaw/", name);
            if (chance(50)) clips("pinyinRaw/", name + "_1");
        }
        if (chance(20)) inventory += one_of(names) + "\n";
        clips("engRaw/", chance(50) ? "a" : "b");
        file("pinyin_dict.txt", dict);
        file("surname_pinyin_single.txt", single);
        file("surname_pinyin_dural.txt", dural);
        file("dst_temperature.txt", temp);
        file("eng_dict.txt", english);
        file("yinsu.txt", inventory + "last\n");
        greetings(below(4));
        start();
        for (int request = 0; request < 20; request++) {
            const std::string text = text_of(pieces, 6);
            SCOPED_TRACE("tree " + std::to_string(tree) + ": " + text);
            try {
                const int position = below(4) - 1, id = below(6) - 1;
                ASSERT_EQ(speak(text, position, {id, 0}, chance(50)).find('?'), std::string::npos);
                failures += !log_with("clear inputs").empty();
                spoken += image.size() > sizeof(Wav) + samples("pau_beg").size();
            } catch (const std::out_of_range &) {
                exceptions++;
            }
            ASSERT_EQ(log_with("memory leak"), "");
        }
    }
    EXPECT_GT(exceptions, 30);  // the random trees reach every way out of a request
    EXPECT_GT(failures, 200);
    EXPECT_GT(spoken, 300);
}
