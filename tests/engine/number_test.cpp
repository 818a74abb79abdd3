// Numbers in the text and their Chinese reading.
#include <array>
#include <stdexcept>

#include "support/tiny_voice.h"

// Each piece in brackets, so that empty ones show.
static std::string bracketed(const strings &pieces) {
    std::string result;
    for (const auto &piece : pieces) result += "[" + piece + "]";
    return result;
}

// Numbers in any text are checked by fuzz/numbers.cpp.
TEST(Numbers, AreFoundAndRewritten) {
    static const char *const rows[][4] = {
        {"letters taken for digits, trailing point kept", "abc3.a", "[3]", "abc三.a"},
        {"double point kept, or lost with its run", "4a1..2", "[4][1][2]", "四a一..二"},
        {"minus between digits starts a number", "3-5", "[3][5]", "三-五"},
        {"a minus in front gives no empty run", "--5", "[][5]", "--五"},
        {"a lone minus starts a number", "-", "", "-"},
        {"a minus before a point gives an empty run", "-.5", "[5]", "-.五"},
        {"look-ahead forgotten between runs", "12a-", "[12][]", "十二a-"},
        {"final 8 left out", "98", "[98]", "九十八"},
        {"final 0 or leading point kept, 9 left out", ".5 9a90", "[5][9][90]", ".五 九a九十"},
        {"degrees one byte on count", "1234a度。", "[1234]", "一二三四a度。"},
        {"second number left", "5到1234度。", "[5][1234]", "五到一千二百三十四度。"},
    };
    for (const auto &[fault, text, runs, reading] : rows) {
        EXPECT_EQ(bracketed(getNumStrArray(text)), runs) << fault;
        EXPECT_EQ(num2cn(getNumStrArray(text), text), reading) << fault;
    }
    EXPECT_THROW(num2cn({"000"}, "000"), std::out_of_range);
    EXPECT_THROW(num2cn({"7"}, "abc"), std::out_of_range);
    log_lines.clear();
    num2cn({"2024", "5"}, "2024 5");
    EXPECT_EQ(log_with("I/num2cn"),
              "I/num2cn 334 \nI/num2cn 369 二零二四 \nI/num2cn 379 二零二四 5 \n"
              "I/num2cn 375 五 \nI/num2cn 379 二零二四 五 \n");
    log_lines.clear();
    getNumStrArray("-a-1");
    EXPECT_EQ(whole_log(),
              "I/getNumStrArray 387 str=-a-1 \nI/getNumStrArray 397 i=0 str_data=- dig_index=0 \n"
              "I/getNumStrArray 404 \nI/getNumStrArray 406 \n"
              "I/getNumStrArray 397 i=1 str_data=a dig_index=-1 \n"
              "I/getNumStrArray 397 i=2 str_data=- dig_index=0 \nI/getNumStrArray 404 \n"
              "I/getNumStrArray 410 \nI/getNumStrArray 415 i=2 str_data=- dig_index=0 \n"
              "I/getNumStrArray 436 pos=2 size=4 n=0 \nI/getNumStrArray 439 \n"
              "I/getNumStrArray 397 i=3 str_data=1 dig_index=2 \nI/getNumStrArray 404 \n"
              "I/getNumStrArray 410 \nI/getNumStrArray 415 i=3 str_data=1 dig_index=2 \n"
              "I/getNumStrArray 439 \nI/getNumStrArray 456 \n");
}

static std::string times(int count, const char *text) {
    std::string result;
    while (count-- > 0) result += text;
    return result;
}

TEST(Numbers, AreReadInChinese) {
    static const std::string range = "E/ERROR! out of data range, now support 96 bytes! \n",
                             format = "E/ERROR! input format error! \n", eight = "一千一百十一",
                             half = eight + "万" + eight + "亿" + eight + "万" + eight;
    static const std::array<std::string, 4> rows[] = {
        {"zero is silent", "0", "零", ""},
        {"nine zeros have their unit", times(9, "0"), "亿", ""},
        {"zero inside is silent, or at the end spoken", "1050", "一千零五十", ""},
        {"one-ten is shortened at the front only", "110", "一百十", ""},
        {"place after a zero at ten thousand is read", "100000", "十", ""},
        {"places after the skipped one", "100005", "十零五十", ""},
        {"decimals read with units, or zeros dropped", "-12.50", "负十二点五零", ""},
        {"format error after a minus", "-1.2.3", "", format},
        {"minus alone", "-", "", format},
        {"a blank is an error", " ", "", ""},
        {"33 digits: first has a unit", "2" + times(32, "1"), "二" + half + "兆" + half, ""},
        {"34 digits: unit past the list", "-" + times(34, "1") + ".5",
         "负" + times(34, "一") + "点五", ""},
        {"leading zeros count as digits", times(40, "0") + "5", "五", ""},
        {"97 digits not reported", times(97, "1"), times(97, "一"), range},
    };
    for (const auto &[fault, digits, reading, error] : rows) {
        log_lines.clear();
        EXPECT_EQ(an_2_cn(digits, "low"), reading) << fault;
        EXPECT_EQ(log_with("E/"), error) << fault;
    }
    for (const char *none : {"000", "0000", ".5"}) {
        EXPECT_THROW(an_2_cn(none, "low"), std::out_of_range) << none;
    }
    for (const char *mode : {"up", "rmb"}) EXPECT_EQ(an_2_cn("15", mode), "十五") << mode;
    log_lines.clear();
    EXPECT_EQ(an_2_cn("15", "LOW"), "");
    EXPECT_EQ(log_lines, (strings{"I/an_2_cn 272 \n", "E/ERROR! mode not support! \n"}));
    EXPECT_EQ(printed([] { an_2_cn("ab1c", "low"); }),
              "输入的数据不在转化范围内 ：a\n输入的数据不在转化范围内 ：b\n");
    std::string in_place = "0070";
    EXPECT_EQ(digit2hanzi(in_place, "low") + in_place, "七十70");
    std::string mode = "low", no_zeros = "5";
    log_lines.clear();
    EXPECT_EQ(digit2hanzi(no_zeros, mode), "五");
    EXPECT_EQ(log_lines.at(0), "I/digit2hanzi 164 pos=0 size=1 n=1 \n");
    EXPECT_EQ(num_str("x1-2x.9"), "一负二二点九");
}

TEST(Numbers, LogTheirConversion) {
    log_lines.clear();
    an_2_cn("-0105.2", "low");
    EXPECT_EQ(whole_log(),
              "I/an_2_cn 272 \nI/an_2_cn 302 pos=1 size=6 n=6 \nI/stringSplit 144 \n"
              "I/digit2hanzi 164 pos=1 size=3 n=3 \nI/digit2hanzi 179 pos=1 \n"
              "I/digit2hanzi 182 pos=3 size=30 n=3 \nI/digit2hanzi 186 pos=6 size=96 n=3 \n"
              "I/digit2hanzi 179 pos=0 \nI/digit2hanzi 207 pos=6 size=6 n=3 \n"
              "I/digit2hanzi 210 pos=0 size=30 n=3 \nI/digit2hanzi 179 pos=5 \n"
              "I/digit2hanzi 182 pos=15 size=30 n=3 \nI/digit2hanzi 219 pos=0 size=12 n=3 \n"
              "I/digit2hanzi 219 pos=3 size=12 n=3 \nI/digit2hanzi 219 pos=6 size=12 n=3 \n"
              "I/digit2hanzi 219 pos=9 size=12 n=3 \nI/digit2hanzi 235 pos=9 size=12 n=3 \n"
              "I/num_str 248 \nI/num_str 266 二 \n");
    log_lines.clear();
    EXPECT_EQ(an_2_cn("00000", "low"), "万");
    EXPECT_EQ(whole_log(),
              "I/an_2_cn 272 \nI/stringSplit 144 \nI/digit2hanzi 179 pos=0 \n"
              "I/digit2hanzi 195 pos=0 size=30 n=3 \nI/digit2hanzi 199 pos=12 size=96 n=3 \n"
              "I/digit2hanzi 179 pos=0 \nI/digit2hanzi 207 pos=6 size=6 n=3 \n"
              "I/digit2hanzi 210 pos=0 size=30 n=3 \nI/digit2hanzi 179 pos=0 \n"
              "I/digit2hanzi 207 pos=9 size=9 n=3 \nI/digit2hanzi 179 pos=0 \n"
              "I/digit2hanzi 207 pos=9 size=9 n=3 \nI/digit2hanzi 219 pos=0 size=9 n=3 \n"
              "I/digit2hanzi 219 pos=0 size=6 n=3 \nI/digit2hanzi 219 pos=3 size=6 n=3 \n"
              "I/digit2hanzi 235 pos=3 size=6 n=3 \nI/digit2hanzi 238 pos=3 size=6 n=3 \n");
}

// The cutting of any text is checked by fuzz/segments.cpp.
TEST(Text, IsCutAtDelimiters) {
    EXPECT_EQ(bracketed(stringSplit(",a,,b,", ',')), "[][a][][b]");
    EXPECT_EQ(bracketed(stringSplit(",", ',')) + bracketed(stringSplit("", ',')), "[]");
    EXPECT_THROW(count_eng_word("ab", 0, 3), std::out_of_range);
    std::string text = "0a11b9";
    delete_digit(text);
    EXPECT_EQ(text, "ab");
}
