// Whole requests: start-up, the rules and their order, greetings, failures and the log.
#include <algorithm>
#include <array>
#include <numeric>
#include <stdexcept>

#include "support/tiny_voice.h"

// The zero-byte buffers that the engine never releases are not a leak here: speak() counts all
// clips.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:read_raw_data";
}

namespace {

using namespace std::string_literals;

class Request : public TinyVoice {
  protected:
    Request() {
        file("pinyin_dict.txt",
             "天=tian1\n气=qi4\n你=ni3\n好=hao3\n很=hen3\n妈=ma1\n的=de\n单=dan1\n曾=ceng2\n"
             "任=ren4\n欧=ou1\n阳=yang2\n五=wu3\n六=liu4\n度=du4\n东=dong1\n二=er4\n十=shi2\n"
             "空=kong1\n三=san1\n郝=hao3\n吗=ma\n错=error\n八=ba1bao3\n洗=xi3shou3\n");
        file("surname_pinyin_single.txt", "单=shan4\n曾=zeng1\n任=ren2\n六=lu4\n柏=bo2\0\n"s);
        file("surname_pinyin_dural.txt", "欧阳=ou1yang2\n司马=si1ma3\n单度=shan4du4\n");
        file("dst_temperature.txt",
             "五度=p_wu p_du\n十五度=p_shi p_wu\n六度=p_liu p_du\n度=none\n二度=p_er p_du p_x\n"
             "二五=p_er\n二六=mute p_liu\n五五=p_wu  p_du\n");
        file("eng_dict.txt",
             "hi\nhi_a,hi_b\ngap\nno\nodd\nodd\noh\nno,hi_b,,nor,hi_a,hi_c,hi_a,\n");
        phones(
            "tian1 tian1_1 tian1_2 qi4 qi4_1 qi4_2 ni3 ni2 ni2_1 ni2_2 hao3 hao3_1 hao2 hen3 "
            "hen2_2 ma1 ma1_1 ma1_ma1 de1 dan1 ceng2 ren4 ou1 ou1_1 ou1_2 yang2 yang2_2 wu3 "
            "wu3_1 liu4 du4 du4_2 er4 shi2 kong1 p_wu p_du p_shi p_liu p_er p_x mute last");
        clips("pinyinRaw/", "shan4_1 ren2 ou1yang2_1 ou1yang2 si1ma3 lu4_1");
        clips("engRaw/", "hi_a hi_b hi_c");
        file("engRaw/odd", "123");
        std::filesystem::remove(root + "pinyinRaw/kong1");
        std::filesystem::remove(root + "pinyinRaw/mute");
        greetings(3);
        start();
    }
};

class StartUp : public TinyVoice {};

}  // namespace

TEST_F(Request, SpeaksByTheRulesInOrder) {
    static const char *const rows[][3] = {
        {"one character is first, not last", "天", "tian1_1"},
        {"pieces out of step, or no sound ends it", "oh天", "hi_b hi_a hi_c hi_a tian1"},
        {"unknown ends the speech", "HI天what。错气", "hi_a hi_b tian1_2 pau_short pau_short qi4"},
        {"code of the pair left for the syllable", "天气的", "tian1_1 qi4_2 de1"},
        {"third tone beside another tone", "天你好气很妈你",
         "tian1_1 ni2_2 hao3 qi4_2 hen3 ma1 ni3"},
        {"pair takes a third segment, or English", "天妈妈妈a妈", "tian1_1 ma1_ma1 ma1 ma1"},
        {"surname tried later", "天单欧阳", "tian1_1 dan1 ou1_2 yang2"},
        {"short phrase hides a longer one", "天15度", "tian1_1 p_shi p_wu"},
        {"phrase after a surname", "单五度", "shan4_1 p_wu p_du"},
        {"phrase before the surname of its start", "六度", "lu4_1 du4"},
        {"fewer clips than characters", "天二五气", "tian1_1 p_er qi4"},
        {"two blanks are one", "五五hi", "wu3 wu3 hi_a hi_b"},
        {"phrase clip not a phone, pair rule next", "天度天", "tian1_1 du4_2 tian1"},
        {"phrase clip left in a syllable", "二度天气", "p_er p_du tian1_2 qi4"},
        {"phrase clip left in an unknown word", "二度a", "p_er p_du"},
        {"phrase clip left in a pair", "二度妈妈", "p_er p_du ma1_ma1"},
    };
    for (const auto &[fault, text, clips_after_the_pause] : rows) {
        EXPECT_EQ(speak(text), "pau_beg "s + clips_after_the_pause) << fault;
        EXPECT_EQ(log_with("memory leak") + log_with("clear inputs"), "");
    }
}

TEST_F(Request, SpeaksByThePhoneList) {
    // The clips after the pause, and the reading that is not a phone where the speech is dropped.
    static const char *const rows[][5] = {
        {"variant after the last's double", "好", "hao3 x hao3_1 x", "hao3_1", ""},
        {"phone after the last's double", "好", "x hao3 x", "", "hao3"},
        {"completed reading is not a phone", "的", "x", "", "de1"},
        {"changed syllable not taken", "你好", "ni2 ni2_2 ni3 hao3", "ni2 hao3", ""},
        {"unchanged syllable not kept", "你好", "ni2_2 ni3 hao3", "ni3 hao3", ""},
        {"unchanged phone not needed", "你好", "ni2 ni2_1 hao3", "", "ni3"},
        {"phone after the last's double", "你好", "hao3 ni2 ni3 ni2", "", "ni3"},
        {"variant after the last's double", "你好", "ni3 hao3 x ni2_1 x", "ni2_1 hao3", ""},
        {"third tone late in the second", "你八", "ni3 ni2 ba1bao3", "ni2 ba1bao3", ""},
        {"one digit changed", "洗好", "xi3shou3 xi2shou3 xi2shou2 hao3", "xi2shou2 hao3", ""},
        {"double without tone", "吗吗", "x ma_ma ma1_ma1", "ma1_ma1", ""},
        {"same readings doubled", "好郝", "hao3_hao3 hao3", "hao3 hao3", ""},
        {"phrase clip after the last's double", "五度", "x p_wu p_du x", "", "wu3"},
        {"empty list accepts nothing", "五度", "", "p_wu p_du", ""},
    };
    clips("pinyinRaw/", "hao3_1 ni2_1");
    for (const auto &[fault, text, list, clips_after_the_pause, unlisted] : rows) {
        SCOPED_TRACE(fault);
        const std::string pause = *unlisted == '\0' ? "pau_beg " : "pau_beg";
        const strings names = words_of(list);
        // The list as loaded, then one that is changed in the engine: the index is of another one.
        for (const strings &loaded :
             {names, strings(names.rbegin(), names.rend()), strings(names.size(), "other")}) {
            phones(list);
            file("yinsu.txt",
                 std::accumulate(loaded.begin(), loaded.end(), ""s,
                                 [](auto all, auto &name) { return all + name + "\n"; }));
            start();
            std::copy(names.begin(), names.end(), engine->dict_phone.begin());
            EXPECT_EQ(speak(text), pause + clips_after_the_pause) << text;
            const phone_view indexed(engine->dict_phone, engine->index_phone);
            const phone_view scanned(engine->dict_phone);
            strings searched(12, "absent");  // after so many the whole list is compared
            searched.insert(searched.end(), names.begin(), names.end());
            for (const std::string &name : searched) {
                EXPECT_EQ(indexed.lists(name), scanned.lists(name)) << name;
                if (names.empty()) continue;
                EXPECT_EQ(indexed.is_phone(name), scanned.is_phone(name)) << name;
            }
            EXPECT_EQ(log_with("clear inputs"),
                      *unlisted == '\0' ? ""
                                        : "I/error: have found "s + unlisted +
                                              " in eng_ dict & pinyin_dict,but not found in "
                                              "phone_dict, clear inputs! \n");
        }
    }
    EXPECT_THROW(speak("天"), std::out_of_range);  // no list at all
}

TEST_F(Request, FailureDropsTheSpeechOnly) {
    static const char *const rows[][3] = {
        {"word without clips", "天gap气",
         "I/error: not found gap in eng_ dict & pinyin_dict, clear inputs! \n"},
        {"missing syllable clip", "天空",
         "I/error: not found 空 in eng_ dict & pinyin_dict, clear inputs! \n"},
        {"reading is not a phone", "天东",
         "I/error: have found dong1 in eng_ dict & pinyin_dict,but not found in phone_dict, clear "
         "inputs! \n"},
        {"clip of three bytes", "odd",
         "I/error: have found odd in eng_ dict & pinyin_dict,but not found in phone_dict, clear "
         "inputs! \n"},
        {"surname without recording", "曾天",
         "I/error: single_surname 曾 found in dict but not found sound in pinyinRawData, clear "
         "inputs! \n"},
        {"surname pair without recording", "司马天",
         "I/error: poly_surname found in dict but not found sound in pinyinRawData, clear "
         "inputs! \n"},
        {"phrase clip not a phone, at the end", "气度",
         "I/error: have found 度 in eng_ dict & pinyin_dict,but not found in phone_dict, clear "
         "inputs! \n"},
    };
    for (const auto &[fault, text, message] : rows) {
        SCOPED_TRACE(fault);
        EXPECT_EQ(speak(text, GREETING_END, {1}), "pau_beg ch1");
        const std::string log = log_from("I/error: ");
        EXPECT_EQ(log.substr(0, log.find("I/after")), message + "I/free_rawDatas 128 \n"s);
        EXPECT_EQ(log_with("pinyin2Raw words str = 空") + log_with("new vector"),
                  "I/new vector size:2 \n");
    }
    std::filesystem::remove(root + "pinyinRaw/pau_short");
    EXPECT_EQ(speak("天。"), "pau_beg");
    EXPECT_EQ(log_with("clear inputs"),
              "I/error: not found error in eng_ dict & pinyin_dict, clear inputs! \n");
}

TEST_F(Request, LogsEveryLine) {
    const char *const log =
        "I/tts input filted: 五度Hi你好。 \nI/split_ch_eng 521 pos=0 size=17 ch=五 n=3 \n"
        "I/split_ch_eng 521 pos=3 size=17 ch=度 n=3 \nI/count_eng_word 465 \n"
        "I/split_ch_eng 545 pos=6 size=17 str=hi n=2 \n"
        "I/split_ch_eng 521 pos=8 size=17 ch=你 n=3 \n"
        "I/split_ch_eng 521 pos=11 size=17 ch=好 n=3 \n"
        "I/split_ch_eng 521 pos=14 size=17 ch=。 n=3 \nI/check_temp_exist 318 \n"
        "I/863 check temp exist len len=2 index=0\nI/vector size before=6, capacity=8 \n"
        "I/input elem [0] info : str=五, index=0, type=1 \nI/tts_getWavData 888 \n"
        "I/tts_getWavData 892 \nI/tts_getWavData 895 i=0 index=0 str=五 \nI/double_poly 233 \n"
        "I/double_poly 236 splited_str = 五度 \nI/double_poly 240 \nI/tts_getWavData 897 \n"
        "I/tts_getWavData 919 i=0 \nI/single_surname 263 \nI/single_surname 267 \n"
        "I/tts_getWavData 921 i=0 index=0 str=五 surname=-1 \nI/transfer_temp_word 352 \n"
        "I/stringSplit 144 \nI/read_raw_data 89 \nI/read_raw_data 89 \nI/transfer_temp_word 398 \n"
        "I/input elem [2] info : str=hi, index=2, type=0 \nI/tts_getWavData 883 \n"
        "I/engWord2raw 62 \nI/stringSplit 144 \nI/read_raw_data 89 \nI/read_raw_data 89 \n"
        "I/free_rawData 118 \nI/free_rawData 118 \nI/engWord2raw 105 \n"
        "I/tts_getWavData 885 i=2 index=2 str=hi ret=16 \n"
        "I/input elem [3] info : str=你, index=3, type=1 \nI/tts_getWavData 888 \n"
        "I/tts_getWavData 969 \nI/tts_getWavData 971 \nI/tts_getWavData 979 i=3 start=0 \n"
        "I/redupli_words 578 \nI/read_raw_data 89 \n"
        "I/input elem [4] info : str=好, index=4, type=1 \nI/tts_getWavData 888 \n"
        "I/tts_getWavData 969 \nI/tts_getWavData 971 \nI/tts_getWavData 979 i=4 start=2 \n"
        "I/redupli_words 578 \nI/tts_getWavData 998 i=4 is_last=0 \nI/pinyin2raw 472 \n"
        "I/pinyin2raw 507 \nI/pinyin2raw 522 \nI/soft_tone 43 \nI/soft_tone 48 \nI/soft_tone 48 \n"
        "I/soft_tone 48 \nI/soft_tone 48 \nI/soft_tone 107 words=hao3 \nI/pinyin2raw 528 \n"
        "I/read_raw_data 89 \nI/pinyin2Raw words str = 好 \n"
        "I/tts_getWavData 1000 i=4 index=4 str=好 ret=8 \n"
        "I/input elem [5] info : str=。, index=5, type=1 \nI/tts_getWavData 888 \n"
        "I/tts_getWavData 969 \nI/tts_getWavData 998 i=5 is_last=2 \nI/pinyin2raw 472 \n"
        "I/pinyin2raw 503 \nI/pinyin2raw 515 \nI/read_raw_data 89 \n"
        "I/pinyin2Raw words str = error \nI/tts_getWavData 1000 i=5 index=5 str=error ret=12 \n"
        "I/after  vector size:6 capacity=8 \nI/read_raw_data 89 \n"
        "I/short pause inserted at the beginning.\nI/tts without greetings! \n"
        "I/new vector size:7 \nI/rawData2WavDram 61 \nI/rawData2WavDram 100 \n"
        "I/rawData2WavDram 110 \nI/raw to wave finished \nI/free_rawData 118 \n"
        "I/free_rawData 118 \nI/free_rawData 118 \nI/free_rawData 118 \nI/free_rawData 118 \n"
        "I/free_rawData 118 \nI/free_rawData 118 \nI/tts finished \n";
    speak("5度Hi你好。");
    EXPECT_EQ(log_from("tts input filted"), log);
}

TEST_F(Request, LogsAndPrintsWhatEachRuleFound) {
    // What is printed, and the one line of the log that no other row has.
    const char *const rows[][3] = {
        {"欧阳", "Compound surname : words=欧阳, pinyin=ou1yang2_1 \n",
         "tts_getWavData 905 i=1 \n"},
        {"司马", "Compound surname : words=司马, pinyin=si1ma3_1 \n", "tts_getWavData 910 i=0 \n"},
        {"单", "Single surname of polyphonic found : 单 shan4_1\n", "tts_getWavData 924 i=0 \n"},
        {"任", "Single surname of polyphonic found : 任 ren2_1\n", "single_surname 278 \n"},
        {"柏", "Single surname of polyphonic found : 柏 bo2\n",
         "Single surname of polyphonic found : 柏 bo2\n"},
        {"的", "word = 的 pinyin = de1 out = de1\n", "pinyin2Raw words str = 的 \n"},
        {"a", "not found word: a.\n", "not found word: a.\n"},
        {"oh", "", "read no failed\n"},
        {"oh", "", "read  failed\n"},
        {"oh", "", "read nor failed\n"},
        {"东", "", "pinyin2raw 533 \n"},
        {"妈妈", "", "redupli_words 595 \n"},
        {"妈妈", "", "redupli_words 601 \n"},
    };
    for (const auto &[text, on_output, line] : rows) {
        speak(text);
        EXPECT_EQ(output, on_output);
        EXPECT_EQ(log_with(line), "I/"s + line);
    }
    speak("妈妈");  // the pause and the double clip: the second syllable has none to release
    EXPECT_EQ(log_with("free_rawData "), "I/free_rawData 118 \nI/free_rawData 118 \n");
}

TEST_F(Request, PlaysGreetings) {
    static const std::string ahead = "I/tts with greetings ahead \n",
                             end = "I/tts with greetings at end \n",
                             none = "I/greetings only support english and chinese. \n";
    static const struct {
        const char *fault;
        int position;
        std::vector<int> ids;
        int language;
        const char *heard;
        std::string logged;
        int segments;
    } rows[] = {
        {"another position plays", 2, {0}, 0, "pau_beg", "", 1},
        {"negative position plays", -2, {0}, 0, "pau_beg", "", 1},
        {"ids ahead turned round", GREETING_AHEAD, {2, 0, 1}, 0, "ch2 ch0 ch1 pau_beg", ahead, 4},
        {"ids at the end turned round", GREETING_END, {2, 0, 1}, 0, "pau_beg ch2 ch0 ch1", end, 4},
        {"English not played", GREETING_END, {1, 1}, 1, "pau_beg en1 en1", end, 3},
        {"another language plays", GREETING_AHEAD, {1}, 2, "pau_beg", none + ahead, 1},
        {"id equal to the count refused",
         GREETING_AHEAD,
         {0, 3, 1},
         0,
         "ch0 ch1 pau_beg",
         ahead,
         4},
        {"id past the count accepted", GREETING_END, {2, 4, 0}, 0, "pau_beg ch2", end, 2},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        EXPECT_EQ(speak("", row.position, row.ids, row.language), row.heard);
        const std::string log = log_from("short pause inserted");
        EXPECT_EQ(log.substr(0, log.find("I/rawData2WavDram")),
                  "I/short pause inserted at the beginning.\n" + row.logged +
                      "I/new vector size:" + std::to_string(row.segments) + " \n");
    }
    int ids[] = {1, 2};
    greet_param_t greeting = {1, -1, ids, GREETING_AHEAD};
    EXPECT_EQ(speak("天", &greeting), "pau_beg tian1_1");
    EXPECT_EQ(log_lines[0] + log_lines[1],
              "I/tts_getWavData 810 \nI/language:1 greets_num:-1 position:0 id0:1 id1:2 \n");
    greeting = {0, 7, nullptr, GREETING_AHEAD};
    EXPECT_EQ(speak("天", &greeting), "pau_beg tian1_1");
    EXPECT_EQ(log_lines[1], "I/language:0 greets_num:7 position:0 id0:0 id1:0 \n");
    greetings(3, "default_language=1\ndefault_num=5\ndefaule_pos=1\ndefault_id=2\n");
    start();
    EXPECT_EQ(speak("天", nullptr), "pau_beg tian1_1 en2");
    EXPECT_EQ(log_lines[1], "I/language:1 greets_num:1 position:1 id0:2 id1:0 \n");
}

TEST_F(Request, ExceptionLeavesNothingBehind) {
    for (const int count : {64, 70}) {
        greetings(count);
        log_lines.clear();
        start();
        EXPECT_EQ(engine->greet_count, count);
        EXPECT_EQ(malloc_count, 128);
        EXPECT_EQ(log_with("exceed"), count == 64 ? ""
                                                  : "I/loaded greeting count exceed default "
                                                    "cnt(64). only load the first 64 greets.\n");
    }
    EXPECT_EQ(speak("", GREETING_END, {63, 71, 64}), "pau_beg ch63");
    for (const int position : {GREETING_AHEAD, GREETING_END}) {
        for (const int id : {64, 70}) {
            EXPECT_THROW(speak("妈妈hi", position, {0, id}), std::out_of_range);
        }
    }
    for (const char *text : {"天000", "0000度", "天二度"}) {
        EXPECT_THROW(speak(text), std::out_of_range) << text;
    }
    int size = 0;
    EXPECT_THROW(tts_getWavData(engine.get(), nullptr, nullptr, &size, 0, nullptr),
                 std::logic_error);
    stop();
    engine = std::make_unique<tts_engine_t>();  // filled by hand, without phones
    engine->pinyinRawPath = root;
    engine->dict_pinyin = {{"好", "hao3"}};
    EXPECT_THROW(speak("好好"), std::out_of_range);
}

TEST_F(Request, LogsWhatStaysAllocated) {
    std::filesystem::remove(root + "greetingRaw/en1");
    start();
    EXPECT_EQ(log_with("E/"), "E/ERROR! open " + root + "greetingRaw/en1 fail! error = 2\n");
    for (const char *counts : {"6 free_count 1", "7 free_count 2"}) {
        speak("");
        EXPECT_EQ(log_from("memory leak"),
                  "I/memory leak! malloc_count "s + counts + " \nI/tts finished \n");
    }
    file("greetingRaw/pau_beg", "");
    file("engRaw/no", "");
    unreleased_buffers = 2;  // a piece without sound, and the pause
    EXPECT_EQ(speak("gap"), "");
}

TEST_F(Request, DescramblesPhrasesOfTwoLanguages) {
    scramble("p_wu p_du");
    for (const int language : {-1, 0, 1, 2, 3, 4}) {
        engine->temp_language = language;
        EXPECT_EQ(speak("五度") == "pau_beg p_wu p_du", language == 2 || language == 3) << language;
    }
}

TEST_F(StartUp, FillsTheRecord) {
    file("eng_dict.txt", "a\nbb\n");
    file("pinyin_dict.txt", "a=b");
    file("surname_pinyin_single.txt", "a=bb");
    file("surname_pinyin_dural.txt", "a=bbb");
    file("yinsu.txt", "abc");
    file("dst_temperature.txt", "a=bbbb");
    greetings(2, "temperature_language=2\n");
    root.pop_back();  // a root without its slash
    total_mem = 1000000;
    start();
    root += "/";
    EXPECT_EQ(total_mem, 25U + 26U + 51U + 52U + 53U + 3U + 54U);
    const tts_engine_t &e = *engine;
    EXPECT_EQ((strings{e.dict_english.at("a"), e.dict_pinyin.at("a"), e.dict_single.at("a"),
                       e.dict_dural.at("a"), e.dict_phone.at(0), e.dict_temp.at("a")}),
              (strings{"bb", "b", "bb", "bbb", "abc", "bbbb"}));
    EXPECT_EQ(e.temp_language, CHINESE);
    EXPECT_EQ(e.greetingData_ch[1].str + e.greetingData_eng[1].str + e.greetingData_ch[2].str,
              "ch1en1");
    EXPECT_EQ(heard(e.greetingData_eng[1].rawData), "en1");
    EXPECT_EQ(e.greetingData_eng[1].type, 2);
    EXPECT_EQ(e.greetingData_eng[1].index, -1);
    EXPECT_EQ(log_lines.back(), "I/tts init succee! \n");
}

// What is read of any configuration is checked by fuzz/greetings.cpp.
TEST_F(StartUp, LogsTheGreetings) {
    greetings(1);
    create_group_from(root + "greetingRaw/greetings.ini");
    EXPECT_EQ(whole_log(),
              "I/greeting count 1 \nI/item[1] name : greeting0 \nI/item[1] id : 0 \n"
              "I/item[1] ch_name : ch0 \nI/item[1] ch_content : C0 \nI/item[1] eng_name : en0 \n"
              "I/item[1] eng_content : E0 \n");
    file("names.ini", "[c]\n[a]\neng_name=" + std::string(32, 'n') + "\n");
    create_group_from(root + "names.ini");
    EXPECT_EQ(log_with("E/"), "E/ERROR! greeting a: clip name of 32 bytes, at most 31 fit\n");
}
