// What holds for any text and any tree: random ones, with a fixed seed.
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

#include "phones.h"
#include "tiny_voice.h"

class Any : public TinyVoice {
  protected:
    int below(size_t n) { return static_cast<int>(generator() % n); }
    bool chance(int percent) { return below(100) < percent; }
    const std::string &one_of(const strings &list) {
        return list[static_cast<size_t>(below(list.size()))];
    }
    std::string text_of(const strings &pieces, size_t longest) {
        std::string text;
        for (int n = below(longest + 1); n > 0; n--) text += one_of(pieces);
        return text;
    }
    std::mt19937 generator{20240229};
};

TEST_F(Any, PhoneIndexAnswersLikeTheList) {
    const strings listed = {"a", "b", "ma", "ma1", "ma1_2", ""};
    for (int run = 0; run < 2000; run++) {
        phone_list list = {one_of(listed)};
        for (int n = below(7); n > 0; n--) list.push_back(one_of(listed));
        const phone_index index = index_phones(list);
        const phone_view scanned(list), indexed(list, index);
        for (const char *name : {"a", "b", "ma", "ma1", "ma1_2", "", "z"}) {
            ASSERT_EQ(indexed.lists(name), scanned.lists(name)) << name;
            ASSERT_EQ(indexed.is_phone(name), scanned.is_phone(name)) << name;
            ASSERT_EQ(indexed.last_names_before(name), scanned.last_names_before(name)) << name;
        }
    }
}

// Whatever is missing or contradictory in the tree: the image holds whole clips, and every clip is
// released, also when the request ends in an exception. speak() looks at the counters.
TEST_F(Any, RequestReleasesWhatItLoads) {
    const strings characters = words_of("天 五 度 单 欧 阳 。"),
                  readings = {"tian1", "wu3", "du4", "hao3", "de", "error", "", "m"},
                  names = words_of(
                      "wu2 wu2_1 wu2_2 hao2 de1 wu3_1 wu3_2 wu3_wu3 hao3_hao3 tian1_2 "
                      "x tian1 wu3 du4 hao3 de");
    strings pieces = words_of("hi OH hi 25 -5 000 1.5 2024 é \xf0\x9f\x98\x80");
    for (int n = 0; n < 4; n++) pieces.insert(pieces.end(), characters.begin(), characters.end());
    int exceptions = 0, failures = 0, spoken = 0;
    for (int request = 0; request < 1200; request++) {
        if (request % 20 == 0) {
            std::string dict = "二=x\n十=x\n零=x\n一=x\n点=x\n", single, dural, temp, inventory;
            for (const auto &c : characters) {
                if (chance(85)) dict += c + "=" + one_of(readings) + "\n";
                if (chance(15)) single += c + "=" + one_of(readings) + "\n";
                if (chance(30)) dural += c + one_of(characters) + "=" + one_of(readings) + "\n";
                temp += text_of(characters, 3) + "=" + text_of({"wu3 ", "x ", "none "}, 5) + "\n";
            }
            for (const auto &name : names) {
                if (chance(80)) inventory += name + "\n";
                std::filesystem::remove(root + "pinyinRaw/" + name);
                if (chance(85)) clips("pinyinRaw/", name);
                if (chance(50)) clips("pinyinRaw/", name + "_1");
            }
            clips("engRaw/", chance(50) ? "a" : "b");
            file("pinyin_dict.txt", dict);
            file("surname_pinyin_single.txt", single);
            file("surname_pinyin_dural.txt", dural);
            file("dst_temperature.txt", temp);
            file("eng_dict.txt", "hi\n" + text_of({"a", "b", "none", ","}, 6) + "\noh\na,b\n");
            file("yinsu.txt", inventory + (chance(20) ? one_of(names) : "last") + "\n");
            greetings(below(4));
            start();
        }
        const std::string text = text_of(pieces, 6);
        SCOPED_TRACE(std::to_string(request) + ": " + text);
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
    EXPECT_GT(exceptions, 30);  // the random trees reach every way out of a request
    EXPECT_GT(failures, 200);
    EXPECT_GT(spoken, 300);
}
