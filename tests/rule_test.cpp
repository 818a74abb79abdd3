// The lexicons and the pronunciation rules, each function on its own.
#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>

#include "tiny_voice.h"

namespace {

split_rawData segment(const std::string &text) {
    split_rawData result;
    result.str = text;
    result.type = 1;
    return result;
}

std::vector<split_rawData> segments(std::string text) {
    return split_ch_eng(text);
}

// Entries as "key=value;", sorted.
std::string shown(const dict_map &dict) {
    std::string result;
    for (const auto &entry : std::map<std::string, std::string>(dict.begin(), dict.end())) {
        result += entry.first + "=" + entry.second + ";";
    }
    return result;
}

// The bytes under the clip key, which both scrambles and unscrambles.
std::string scrambled(std::string bytes) {
    static const unsigned char key[16] = {0x5a, 0x17, 0xc3, 0x09, 0xe2, 0x4b, 0x7d, 0x90,
                                          0x31, 0xaf, 0x6c, 0xd8, 0x04, 0xb5, 0xe9, 0x72};
    for (size_t i = 0; i < bytes.size(); i++) bytes[i] = static_cast<char>(bytes[i] ^ key[i % 16]);
    return bytes;
}

class Lexicon : public TinyVoice {};
class Tone : public TinyVoice {};

// Rules on the clips of a tiny voice. What a rule printed is in `output`.
class Rule : public TinyVoice {
  protected:
    std::string raw() const { return root + "pinyinRaw/"; }
    int run(const std::function<int()> &rule) {
        int result = INT_MIN;
        log_lines.clear();
        output = printed([&] { result = rule(); });
        return result;
    }
    // The clips of the segments, which are released; "-" for none.
    std::string take(const std::vector<split_rawData> &words) {
        std::string result;
        for (const auto &word : words) {
            result += word.rawData.length == 0 ? "-" : heard(word.rawData);
            if (&word != &words.back()) result += " ";
            free_rawData(word.rawData);
        }
        EXPECT_EQ(malloc_count, free_count);
        return result;
    }
};

}  // namespace

TEST_F(Lexicon, IsLoaded) {
    using loader = int (*)(const std::string &, dict_map &);
    static const struct {
        const char *fault;
        loader load;
        const char *bytes;
        int size;
        const char *entries;
    } rows[] = {
        {"size of odd lines", load_pinyin_dict, "ab=cd\n\nx", 150, "=;ab=cd;x=x;"},
        {"cut at the last sign", load_pinyin_dict, "a=b=c\n", 53, "a=b=c;"},
        {"first line wins", load_pinyin_dict, "a=1\na=2\n", 51 * 2, "a=2;"},
        {"carriage return removed", load_pinyin_dict, "a=b\r\n", 52, "a=b\r;"},
        {"no key, no value", load_pinyin_dict, "=v\nk=\n", 100, "=v;k=;"},
        {"blanks trimmed", load_pinyin_dict, " a = b \n", 55, " a = b ;"},
        {"empty file fails", load_pinyin_dict, "", 0, ""},
        {"size of a pair", load_eng_dict, "hi\nhi_1\n", 54, "hi=hi_1;"},
        {"last value wins", load_eng_dict, "a\n1\na\n2\n", 100, "a=1;"},
        {"key without value kept", load_eng_dict, "a\n1\nb\n", 75, "a=1;"},
        {"empty line skipped", load_eng_dict, "\na\nb\n\n", 98, "=a;b=;"},
        {"carriage return removed", load_eng_dict, "a\r\nb,c\r", 54, "a\r=b,c\r;"},
        {"empty file fails", load_eng_dict, "", 0, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        file("lexicon", row.bytes);
        dict_map entries;
        EXPECT_EQ(row.load(root + "lexicon", entries), row.size);
        EXPECT_EQ(shown(entries), row.entries);
        EXPECT_EQ(row.load(root + "none", entries), -1);
        EXPECT_EQ(shown(entries), row.entries);
    }
    EXPECT_EQ(log_lines, strings{});
}

TEST_F(Lexicon, PhonesAreLoaded) {
    static const struct {
        const char *bytes;
        int size;
        phone_list phones;
    } rows[] = {{"a1\nb2\n", 4, {"old", "a1", "b2"}},
                {"a1\nb2", 4, {"old", "a1", "b2"}},
                {"a1\n\na1\r\n", 5, {"old", "a1", "", "a1\r"}},
                {"", 0, {"old"}}};
    for (const auto &row : rows) {
        file("list", row.bytes);
        phone_list list = {"old"};
        EXPECT_EQ(load_all_phone(root + "list", list), row.size) << row.bytes;
        EXPECT_EQ(list, row.phones) << row.bytes;
        EXPECT_EQ(load_all_phone(root + "none", list), -1);
    }
}

TEST_F(Lexicon, CharactersAreFoundByCodePoint) {
    const dict_map hash = {{"20320", "ni3"}};  // U+4F60
    EXPECT_EQ(hanzi2pinyin("你好", hash), "ni3");
    EXPECT_EQ(hanzi2pinyin("好", hash), "error");
    EXPECT_EQ(log_lines,
              logged(" result = 20320 | result = 22909 |Not Found words in pinyin_dict! |"));
    EXPECT_THROW(hanzi2pinyin("ni", hash), std::out_of_range);
}

TEST_F(Lexicon, ScrambledPhrasesAreLoaded) {
    const std::string value = std::string(123, 'x') + "du4", longest = "k=" + value;
    const struct {
        const char *fault;
        std::string text;
        int size;
        std::string entries;
        bool refused;
    } rows[] = {
        {"separators", "一=1 du4\n二=2 du4#", 18 + 96, "一=1 du4;二=2 du4;", false},
        {"first record wins", "a=1du4\na=2du4\n", 12 + 96, "a=2du4;", false},
        {"text behind the last record", "a=1du4\nb=2", 54, "a=1du4;", false},
        {"scan goes on behind a NUL", {"a=1du4\n\0b=2du4\n", 15}, 54, "a=1du4;", false},
        {"record of 128 bytes refused", longest, 128 + 48, "k=" + value + ";", false},
        {"record of 129 bytes taken", "k" + longest + "\na=1du4", 54, "a=1du4;", true},
        {"empty file fails", "", 0, "", false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        file("lexicon", scrambled(row.text));
        dict_map entries;
        log_lines.clear();
        EXPECT_EQ(load_temp_dict(root + "lexicon", entries), row.size);
        EXPECT_EQ(shown(entries), row.entries);
        EXPECT_EQ(log_with("E/") != "", row.refused);
        EXPECT_EQ(load_temp_dict(root + "none", entries), -1);
        EXPECT_EQ(log_lines.back(), "I/open " + root + "none failed. \n");
    }
}

TEST(Scrambling, UsesTheKeyAndUndoesItself) {
    const std::string zeros(35, '\0'), key = scrambled(zeros);
    std::string buffer(36, '#');
    EXPECT_EQ(de_encrypt(35, zeros.data(), buffer.data()), 0);
    EXPECT_EQ(buffer, key + "#");
    EXPECT_EQ(de_encrypt(17, buffer.data(), buffer.data()), 0);  // in place
    EXPECT_EQ(buffer, zeros.substr(0, 17) + key.substr(17) + "#");
    for (const int length : {0, -1, INT_MIN}) EXPECT_EQ(de_encrypt(length, nullptr, nullptr), 0);
}

TEST_F(Tone, PositionsOfASubstring) {
    static const struct {
        const char *words, *part;
        std::vector<int> found;
    } rows[] = {{"mama", "a", {1, 3}}, {"aaa", "aa", {0, 1}}, {"", "a", {}},
                {"a", "ab", {}},       {"ab", "ab", {0}},     {"abc", "c", {2}}};
    for (const auto &row : rows) EXPECT_EQ(find_loc(row.words, row.part), row.found) << row.words;
    EXPECT_EQ(log_lines, strings(6, "I/find_loc 28 \n"));
}

TEST_F(Tone, IsCompleted) {
    static const struct {
        const char *reading, *list, *completed;
    } rows[] = {
        {"de", "x", "de1"},   {"men", "x", "me1n"},   {"xiao", "x", "xi1ao"},
        {"hua", "x", "hu1a"}, {"mama", "x", "mama1"}, {"bobao", "x", "bobao1"},
        {"lv", "x", "lv1"},   {"m", "x", ""},         {"LA", "x", ""},
        {"", "x", ""},        {"ma3", "x", "ma3"},    {"a2b", "", "a2b"},
        {"ma4", "x", "ma4"},  {"ma1", "x", "ma1"},    {"ma5", "x", "ma15"},
        {"ng", "x ng", "ng"}, {"de", "x de y", "de"}, {"de", "x de x", "de"},
        {"de", "", ""},       {"de", "x y x", "de1"}, {"ma0", "x", "ma10"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(soft_tone(row.reading, words_of(row.list)), row.completed) << row.reading;
    }
    log_lines.clear();
    soft_tone("de", {"x"});
    EXPECT_EQ(log_lines, logged("soft_tone 43 |soft_tone 48 |soft_tone 48 |soft_tone 57 |"
                                "find_loc 28 |soft_tone 107 words=de1 |"));
}

TEST_F(Tone, IsMarkedOncePerCopyOfTheLastPhone) {
    static const struct {
        const char *list, *marked;
    } rows[] = {{"x y x", "I/find_loc 28 \nI/find_loc 28 \n"},
                {"x de x", "I/find_loc 28 \n"},
                {"y de x", ""}};
    for (const auto &row : rows) {
        log_lines.clear();
        soft_tone("de", words_of(row.list));
        EXPECT_EQ(log_with("find_loc"), row.marked) << row.list;
    }
}

TEST_F(Rule, Syllable) {
    static const struct {
        const char *fault, *text;
        int is_last;
        const char *list, *str, *clip;  // "3": no phone, "-": clip missing
    } rows[] = {
        {"first takes _2, or the plain clip", "好", 1, "hao3 hao3_2 hao3_1", "好", "hao3_1"},
        {"inner takes _1, or the plain clip", "好", 0, "hao3 hao3_1 hao3_2", "好", "hao3_2"},
        {"last takes a variant", "好", 2, "hao3 hao3_1 hao3_2", "好", "hao3"},
        {"another position takes a variant", "好", 7, "hao3 hao3_1 hao3_2", "好", "hao3"},
        {"variant that is not listed", "好", 0, "hao3_1 hao3", "好", "hao3"},
        {"variant behind the last phone's double", "好", 1, "hao3 x hao3_1 x", "好", "hao3_1"},
        {"tone not completed", "的", 2, "de1 x", "的", "de1"},
        {"character without reading fails", "龘", 2, "x", "error", "pau_short"},
        {"reading \"error\" is looked for", "错", 2, "error", "error", "pau_short"},
        {"two syllables are spoken", "世界", 2, "shi4 jie4", "shi4jie4", "3"},
        {"phone behind the last phone's double", "好", 2, "x hao3 x", "hao3", "3"},
        {"last phone listed twice", "好", 2, "hao3 x hao3", "好", "hao3"},
        {"completed reading is no phone", "的", 2, "x", "de1", "3"},
        {"missing clip is an error", "无", 2, "wu2 x", "无", "-"},
    };
    const dict_map dict = {
        {"好", "hao3"}, {"的", "de"}, {"错", "error"}, {"世界", "shi4jie4"}, {"无", "wu2"}};
    clips("pinyinRaw/", "hao3 hao3_1 hao3_2 de1 error shi4 jie4");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        split_rawData word = segment(row.text);
        const phone_list list = words_of(row.list);
        const int result = run([&] { return pinyin2raw(word, &dict, raw(), row.is_last, list); });
        EXPECT_EQ(word.str, row.str);
        EXPECT_EQ(result, *row.clip == '3' ? 3 : word.rawData.length);
        EXPECT_EQ(log_with("I/pinyin2Raw"),
                  word.rawData.length == 0 ? "" : "I/pinyin2Raw words str = " + word.str + " \n");
        EXPECT_EQ(take({word}), *row.clip == '3' ? "-" : row.clip);
    }
    split_rawData word = segment("的");
    const phone_list list = {"de1"};
    run([&] { return pinyin2raw(word, &dict, raw(), 0, list); });
    EXPECT_EQ(output, "word = 的 pinyin = de1 out = de1\n");
    take({word});
    EXPECT_THROW(pinyin2raw(word, &dict, raw(), 0, {}), std::out_of_range);
}

TEST_F(Rule, Pair) {
    static const struct {
        const char *fault, *first, *second;
        int start;
        const char *list;
        int result;
        const char *str, *clip;
    } rows[] = {
        {"variant not taken", "你", "好", 1, "ni2 ni2_2 ni2_1 ni3 x", 2, "你", "ni2_1"},
        {"inner: plain clip", "你", "好", 0, "ni2_1 ni2_2 ni2 ni3", 2, "你", "ni2_2"},
        {"last: plain clip", "你", "好", 2, "ni2_1 ni2_2 ni2 ni3", 2, "你", "ni2_2"},
        {"changed syllable not taken", "你", "好", 1, "ni2 ni2_2 ni3", 2, "你", "ni2"},
        {"unchanged syllable not kept", "你", "好", 1, "ni2_2 ni3", 2, "你", "ni3"},
        {"unchanged phone not needed", "你", "好", 1, "ni2 ni2_1", 3, "ni3", "-"},
        {"phone behind the last's double", "你", "好", 1, "ni2 ni3 ni2", 3, "ni3", "-"},
        {"third tone before another", "你", "妈", 1, "ni3 ni2", -1, "你", "-"},
        {"other tone before a third", "妈", "你", 1, "ma1 ma2", -1, "妈", "-"},
        {"third tone late in the second", "你", "八宝", 1, "ni3 ni2", 2, "你", "ni2"},
        {"one digit changed", "洗手", "好", 1, "xi3shou3 xi2shou3 xi2shou2", 2, "洗手", "xi2shou2"},
        {"first reading missing", "龘", "好", 1, "hao3", 0, "龘", "-"},
        {"second reading missing", "好", "龘", 1, "hao3", 0, "好", "-"},
        {"empty first reading", "空", "好", 1, "hao3", -1, "空", "-"},
        {"double clip not taken", "好", "好", 1, "hao3 hao2 hao3_hao3", 1, "好", "hao3_hao3"},
        {"double behind the last's double", "好", "好", 1, "x hao3_hao3 x", 1, "好", "hao3_hao3"},
        {"double without tone", "吗", "吗", 0, "x ma_ma ma1_ma1", 1, "吗", "ma1_ma1"},
        {"no sandhi without double", "好", "好", 2, "hao3 hao2 hao2_2", 2, "好", "hao2_2"},
        {"same readings doubled", "好", "郝", 1, "hao3_hao3 hao3", 2, "好", "hao3"},
    };
    const dict_map dict = {{"你", "ni3"},       {"好", "hao3"},      {"郝", "hao3"},
                           {"妈", "ma1"},       {"吗", "ma"},        {"空", ""},
                           {"八宝", "ba1bao3"}, {"洗手", "xi3shou3"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        clips("pinyinRaw/", row.list);
        split_rawData first = segment(row.first), second = segment(row.second);
        int16_t sample = 0;
        second.rawData = {&sample, 2};
        EXPECT_EQ(run([&] {
                      return redupli_words(first, second, dict, raw(), words_of(row.list),
                                           row.start);
                  }),
                  row.result);
        EXPECT_EQ(first.str, row.str);
        EXPECT_EQ(second.rawData.addr, row.result == 1 ? nullptr : &sample);
        EXPECT_EQ(second.rawData.length, row.result == 1 ? 0 : 2);
        EXPECT_EQ(take({first}), row.clip);
    }
}

TEST_F(Rule, Surname) {
    const dict_map pairs = {{"欧阳", "ou1yang2"}, {"司马", "si1ma3"}};
    const dict_map singles = {{"单", "shan4"}, {"任", "ren2"}, {"曾", "zeng1"}};
    clips("pinyinRaw/", "ou1yang2_1 ou1yang2 si1ma3 shan4 shan4_1 ren2");
    static const std::string pair = "Compound surname : words=",
                             single = "Single surname of polyphonic found : ";
    const struct {
        const char *fault, *first, *second, *clip;  // second "": one character
        std::string said;                           // nothing: no surname
    } rows[] = {
        {"plain clip", "欧", "阳", "ou1yang2_1", pair + "欧阳, pinyin=ou1yang2_1 \n"},
        {"plain clip tried for a pair", "司", "马", "-", pair + "司马, pinyin=si1ma3_1 \n"},
        {"plain clip", "单", "", "shan4_1", single + "单 shan4_1\n"},
        {"plain clip not tried, or named", "任", "", "ren2", single + "任 ren2_1\n"},
        {"no clip at all", "曾", "", "-", single + "曾 zeng1_1\n"},
        {"a pair that is no surname", "欧", "马", "-", ""},
        {"a character that is no surname", "马", "", "-", ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        split_rawData first = segment(row.first), second = segment(row.second);
        second.rawData.length = 9;
        const bool two = !second.str.empty(), listed = !row.said.empty();
        const int result = run([&] {
            return two ? double_poly(first, second, raw(), pairs, {})
                       : single_surname(first, raw(), singles, {});
        });
        EXPECT_EQ(result, listed ? first.rawData.length : -1);
        EXPECT_EQ(second.rawData.length, two && listed ? 0 : 9);
        EXPECT_EQ(output, row.said);
        EXPECT_EQ(log_with(" : "), listed ? "I/" + row.said : "");
        EXPECT_EQ(take({first}), row.clip);
    }
}

TEST_F(Rule, PhraseIsFound) {
    static const struct {
        const char *fault, *text, *keys;  // keys with "," between them
        int length, index;                // index 7: not written
    } rows[] = {
        {"phrase at the end", "今天五度", "五度", 2, 2},
        {"phrase at the front", "五度天", "五度", 2, 0},
        {"key longer than the text", "五度", "十五度", 0, 7},
        {"last occurrence taken", "五度五度", "五度", 2, 0},
        {"short key hides a longer one", "二十五度", "五度,十五度,二十五度,二十", 4, 0},
        {"key across English does not end the walk", "十a五度二", "十a五度,五度", 0, 7},
        {"equal lengths: not the smallest bytes", "二度三度", "三度,二度", 2, 2},
        {"across an English word", "五a度", "五度", 0, 7},
        {"unaligned bytes", "五度", "\xba\xa6", 0, 7},
        {"empty key is no key", "五度", ",", 0, 0},
        {"empty key hides another", "五度", ",度", 1, 1},
        {"English phrase of two letters", "五hi度", "hi", 0, 7},
        {"English phrase of three letters", "五abc度", "abc", 1, 1},
        {"key of more characters than segments", "abcdef", "abcdef", 0, 7},
        {"empty text", "", "五度", 0, 7},
        {"no phrases", "五度", "", 0, 7},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        dict_map dict;
        for (const auto &key : stringSplit(row.keys, ',')) dict[key] = "x";
        int index = 7;
        EXPECT_EQ(check_temp_exist(segments(row.text), dict, index), row.length);
        EXPECT_EQ(index, row.index);
    }
}

TEST_F(Rule, PhraseIsSpoken) {
    static const struct {
        const char *fault, *value, *list;
        int result;
        const char *spoken;  // clips of the segments of 天五度天
    } rows[] = {
        {"clips on the wrong segments", "wu3 du4", "wu3 du4", 1, "- wu3 du4 -"},
        {"fewer clips than characters", "wu3", "wu3 x", 1, "- wu3 - -"},
        {"more clips than characters", "wu3 du4 x", "wu3 du4 x", 1, "- wu3 du4 x"},
        {"no clips", "", "wu3", 1, "- - - -"},
        {"clip that is no phone", "wu3 du4", "wu3 x", 3, "- - - -"},
        {"two blanks are one", "wu3  du4", "wu3 du4", 3, "- - - -"},
        {"phone behind the last phone's double", "wu3", "x wu3 x", 3, "- - - -"},
        {"empty list accepts nothing", "wu3 du4", "", 1, "- wu3 du4 -"},
        {"missing clip", "none du4", "none du4", 1, "- - du4 -"},
    };
    clips("pinyinRaw/", "wu3 du4 x");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        auto words = segments("天五度天");
        EXPECT_EQ(
            transfer_temp_word(words, {{"五度", row.value}}, words_of(row.list), raw(), 2, 1, 0),
            row.result);
        EXPECT_EQ(take(words), row.spoken);
    }
    auto words = segments("天五度");
    const dict_map dict = {{"五度", "wu3 du4 x"}};
    EXPECT_THROW(transfer_temp_word(words, dict, {}, raw(), 2, 1, 0), std::out_of_range);
    EXPECT_EQ(take(words), "- wu3 du4");
    words = segments("五度");
    file("pinyinRaw/wu3", scrambled(samples("wu3")));
    file("pinyinRaw/du4", scrambled(samples("du4")));
    malloc_count = free_count = 0;
    EXPECT_EQ(transfer_temp_word(words, {{"五度", "wu3 du4"}}, {}, raw(), 2, 0, 1), 1);
    EXPECT_EQ(malloc_count, 4);
    EXPECT_EQ(take(words), "wu3 du4");
}

TEST_F(Rule, TensHaveOneClip) {
    static const struct {
        const char *first, *second;
        int result;  // 1: spoken
        const char *str, *said;
    } rows[] = {{"三", "十", 1, "san1_shi2", ""},
                {"四", "十", 3, "四", ""},
                {"十", "三", -1, "十", ""},
                {"三", "六", 0, "三", "have not find 六 in the phone dict \n"},
                {"五", "六", 0, "五", "have not find 五 in the phone dict \n"}};
    const dict_map dict = {{"三", "san1"}, {"四", "si4"}, {"十", "shi2"}};
    const phone_list list = {"x", "san1_shi2", "x"};
    clips("pinyinRaw/", "san1_shi2");
    for (const auto &row : rows) {
        split_rawData first = segment(row.first), second = segment(row.second);
        const int result = run([&] { return temp_function(first, second, dict, raw(), list); });
        EXPECT_EQ(result, row.result == 1 ? first.rawData.length : row.result) << row.first;
        EXPECT_EQ(first.str, row.str);
        EXPECT_EQ(output, row.said);
        EXPECT_EQ(take({first}), row.result == 1 ? row.str : "-");
    }
}

TEST_F(Rule, EnglishWord) {
    static const struct {
        const char *fault, *value, *spoken, *failed;
    } rows[] = {
        {"pieces in the wrong order", "b,a", "b a", ""},
        {"piece behind the last comma", "a,b,", "a b", ""},
        {"empty piece ends the word", "a,,b", "a b", "I/read  failed\n"},
        {"missing pieces end the word", "no,a,nor", "a", "I/read no failed\nI/read nor failed\n"},
        {"no piece is left", "no", "", "I/read no failed\n"},
        {"no piece at all", "", "", ""},
    };
    clips("engRaw/", "a b");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        const dict_map dict = {{"hi", row.value}};
        split_rawData word = segment("hi");
        const int result = run([&] { return engWord2raw(word, &dict, root + "engRaw/"); });
        EXPECT_EQ(result, word.rawData.length);
        EXPECT_EQ(log_with("I/read "), row.failed);
        EXPECT_NE(word.rawData.addr, nullptr);
        EXPECT_EQ(heard(word.rawData), row.spoken);
        my_free(word.rawData.addr);  // also the buffer of a word without sound
        EXPECT_EQ(malloc_count, free_count);
    }
    int16_t sample = 0;
    split_rawData word = segment("oh");
    word.rawData = {&sample, 2};
    const dict_map dict;
    EXPECT_EQ(run([&] { return engWord2raw(word, &dict, root + "engRaw/"); }), 1);
    EXPECT_EQ(word.rawData.addr, &sample);
    EXPECT_EQ(word.rawData.length, 0);
    EXPECT_EQ(output, "not found word: oh.\n");
    EXPECT_EQ(log_with("not found"), "I/not found word: oh.\n");
}
