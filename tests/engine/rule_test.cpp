// The lexicons, and what of the pronunciation rules no whole request shows.
#include <climits>
#include <stdexcept>

#include "support/tiny_voice.h"

namespace {

split_rawData segment(const std::string &text) {
    split_rawData result;
    result.str = text;
    return result;
}

class Lexicon : public TinyVoice {};
class Rule : public TinyVoice {};

}  // namespace

// What is loaded of any file is checked by fuzz/loaders.cpp.
TEST_F(Lexicon, LogsWhatIsNotLoaded) {
    const dict_map old = {{"old", "1"}};
    dict_map entries = old;
    phone_list list = {"old"};
    for (const auto load : {load_pinyin_dict, load_eng_dict, load_temp_dict}) {
        EXPECT_EQ(load(root + "none", entries), -1);
        EXPECT_EQ(entries, old);
    }
    EXPECT_EQ(load_all_phone(root + "none", list), -1);
    EXPECT_EQ(list, phone_list{"old"});
    EXPECT_EQ(log_lines, strings{"I/open " + root + "none failed. \n"});
    std::string bytes = "k=" + std::string(124, 'x') + "du4\na=1du4";
    de_encrypt(static_cast<int>(bytes.size()), bytes.data(), bytes.data());
    file("long", bytes);
    EXPECT_EQ(load_temp_dict(root + "long", entries), 54);
    EXPECT_EQ(entries, (dict_map{{"old", "1"}, {"a", "1du4"}}));
    EXPECT_EQ(log_lines.back(), "E/ERROR! " + root + "long: record of 129 bytes, at most 128\n");
}

TEST_F(Lexicon, CharactersAreFoundByCodePoint) {
    const dict_map hash = {{"20320", "ni3"}};  // U+4F60
    EXPECT_EQ(hanzi2pinyin("你好", hash), "ni3");
    EXPECT_EQ(hanzi2pinyin("好", hash), "error");
    EXPECT_EQ(whole_log(),
              "I/ result = 20320 \nI/ result = 22909 \nI/Not Found words in pinyin_dict! \n");
    EXPECT_THROW(hanzi2pinyin("ni", hash), std::out_of_range);
}

TEST(Scrambling, UsesTheKey) {
    const std::string zeros(35, '\0'),
        key = "\x5a\x17\xc3\x09\xe2\x4b\x7d\x90\x31\xaf\x6c\xd8\x04\xb5\xe9\x72";
    std::string buffer(36, '#');
    EXPECT_EQ(de_encrypt(35, zeros.data(), buffer.data()), 0);
    EXPECT_EQ(buffer, key + key + key.substr(0, 3) + "#");
    for (const int length : {0, -1, INT_MIN}) EXPECT_EQ(de_encrypt(length, nullptr, nullptr), 0);
}

TEST(Tone, IsCompleted) {
    EXPECT_EQ(find_loc("aaa", "aa"), (std::vector<int>{0, 1}));
    EXPECT_EQ(find_loc("a", "ab"), std::vector<int>{});
    // Marked once per copy of the last phone before the reading's place.
    static const std::tuple<const char *, const char *, const char *, int> rows[] = {
        {"de", "x", "de1", 1},       {"xiao", "x", "xi1ao", 1}, {"mama", "x", "mama1", 1},
        {"bobao", "x", "bobao1", 1}, {"lv", "x", "lv1", 1},     {"m", "x", "", 0},
        {"LA", "x", "", 0},          {"", "x", "", 0},          {"a2b", "", "a2b", 0},
        {"ma4", "x", "ma4", 0},      {"ma1", "x", "ma1", 0},    {"ma5", "x", "ma15", 1},
        {"ma0", "x", "ma10", 1},     {"ng", "x ng", "ng", 0},   {"de", "x de x", "de", 1},
        {"de", "y de x", "de", 0},   {"de", "", "", 0},         {"de", "x y x", "de1", 2},
    };
    for (const auto &[reading, list, completed, marked] : rows) {
        log_lines.clear();
        EXPECT_EQ(soft_tone(reading, words_of(list)), completed) << reading;
        const std::string found = log_with("find_loc 28 \n");
        EXPECT_EQ(std::count(found.begin(), found.end(), '\n'), marked) << list;
    }
    log_lines.clear();
    soft_tone("de", {"x"});
    EXPECT_EQ(whole_log(),
              "I/soft_tone 43 \nI/soft_tone 48 \nI/soft_tone 48 \nI/soft_tone 57 \n"
              "I/find_loc 28 \nI/soft_tone 107 words=de1 \n");
}

TEST_F(Rule, TensHaveOneClip) {
    static const std::string missing = "have not find ", end = " in the phone dict \n";
    static const std::tuple<const char *, const char *, int, std::string> rows[] = {
        {"三", "十", 1, ""},
        {"四", "十", 3, ""},
        {"十", "三", -1, ""},
        {"三", "六", 0, missing + "六" + end},
        {"五", "六", 0, missing + "五" + end}};
    const dict_map dict = {{"三", "san1"}, {"四", "si4"}, {"十", "shi2"}};
    const phone_list list = {"x", "san1_shi2", "x"};
    clips("pinyinRaw/", "san1_shi2");
    for (const auto &[text, next, result, said] : rows) {
        split_rawData word = segment(text);
        int got = INT_MIN;
        EXPECT_EQ(printed([&, second = segment(next)] {
                      got = temp_function(word, second, dict, root + "pinyinRaw/", list);
                  }),
                  said);
        EXPECT_EQ(got, result == 1 ? word.rawData.length : result);
        EXPECT_EQ(word.str + heard(word.rawData), result == 1 ? "san1_shi2san1_shi2" : text);
        free_rawData(word.rawData);
    }
}

TEST_F(Rule, SurnamePairClearsALengthAndKeepsTheBuffer) {
    int16_t sample = 0;
    split_rawData first = segment("欧"), second = segment("阳");
    second.rawData = {&sample, 2};
    printed([&] { EXPECT_EQ(double_poly(first, second, root, {{"欧阳", "x"}}, {}), 0); });
    EXPECT_EQ(second.rawData.addr, &sample);
    EXPECT_EQ(second.rawData.length, 0);
}

TEST_F(Rule, PhraseIsFound) {
    // Keys with "," between them; the phrase's length and index, 7 when that is not written.
    static const std::tuple<const char *, const char *, const char *, int, int> rows[] = {
        {"last occurrence taken", "五度五度", "五度", 2, 0},
        {"short key hides a longer one", "二十五度", "五度,十五度,二十五度,二十", 4, 0},
        {"key across English does not end the walk", "十a五度二", "十a五度,五度", 0, 7},
        {"equal lengths: not the smallest bytes", "二度三度", "三度,二度", 2, 2},
        {"empty key taken for a key", "五度", ",", 0, 0},
        {"empty key hides another", "五度", ",度", 1, 1},
        {"English phrase of two letters", "五hi度", "hi", 0, 7},
        {"English phrase of three letters", "五abc度", "abc", 1, 1},
        {"key of more characters than segments", "abcdef", "abcdef", 0, 7},
    };
    for (const auto &[fault, phrase, keys, length, place] : rows) {
        dict_map dict;
        for (const auto &key : stringSplit(keys, ',')) dict[key] = "x";
        int index = 7;
        std::string text = phrase;
        EXPECT_EQ(check_temp_exist(split_ch_eng(text), dict, index), length) << fault;
        EXPECT_EQ(index, place) << fault;
    }
}
