// Whole requests: start-up, the order of the rules, greetings, failures and the log.
#include <gtest/gtest.h>

#include <stdexcept>

#include "tiny_voice.h"

namespace {

class Request : public TinyVoice {
  protected:
    Request() {
        file("pinyin_dict.txt",
             "天=tian1\n气=qi4\n你=ni3\n好=hao3\n很=hen3\n妈=ma1\n的=de\n单=dan1\n曾=ceng2\n"
             "任=ren4\n欧=ou1\n阳=yang2\n五=wu3\n六=liu4\n度=du4\n东=dong1\n二=er4\n十=shi2\n"
             "空=kong1\n三=san1\n");
        file("surname_pinyin_single.txt", "单=shan4\n曾=zeng1\n任=ren2\n六=lu4\n");
        file("surname_pinyin_dural.txt", "欧阳=ou1yang2\n司马=si1ma3\n单度=shan4du4\n");
        file("dst_temperature.txt",
             "五度=p_wu p_du\n十五度=p_shi p_wu\n六度=p_liu p_du\n度=none\n二度=p_er p_du p_x\n");
        file("eng_dict.txt", "hi\nhi_a,hi_b\ngap\nno\nodd\nodd\n");
        phones(
            "tian1 tian1_1 tian1_2 qi4 qi4_1 qi4_2 ni3 ni2 ni2_1 ni2_2 hao3 hao3_1 hao2 hen3 "
            "hen2_2 ma1 ma1_1 ma1_ma1 de1 dan1 ceng2 ren4 ou1 ou1_1 ou1_2 yang2 yang2_2 wu3 "
            "wu3_1 liu4 du4 du4_2 er4 shi2 kong1 p_wu p_du p_shi p_liu p_er p_x last");
        clips("pinyinRaw/", "shan4_1 ren2 ou1yang2_1 lu4_1");
        clips("engRaw/", "hi_a hi_b");
        file("engRaw/odd", "123");
        std::filesystem::remove(root + "pinyinRaw/kong1");
        greetings(3);
        start();
    }
    std::string bytes(const std::string &name) { return std::to_string(samples(name).size()); }
};

class StartUp : public TinyVoice {};

}  // namespace

TEST_F(Request, SpeaksByTheRulesInOrder) {
    static const struct {
        const char *fault, *text, *clips;  // behind the pause
    } rows[] = {
        {"empty text speaks", "", ""},
        {"signs and two-byte characters speak", " -%. é", ""},
        {"one character is first, not last", "天", "tian1_1"},
        {"last character has a variant", "天气", "tian1_1 qi4"},
        {"inner character is last or first", "天天气气", "tian1_1 tian1_2 qi4_2 qi4"},
        {"last character behind English", "a天", "tian1"},
        {"inner character before English is last", "天气a", "tian1_1 qi4_2"},
        {"upper case word not found", "HI天", "hi_a hi_b tian1"},
        {"unknown word ends the speech", "天what气", "tian1_1 qi4"},
        {"character without reading ends the speech", "天。气", "tian1_1 pau_short qi4"},
        {"third tone at the start", "你好", "ni2_1 hao3"},
        {"third tone inside", "天你好气", "tian1_1 ni2_2 hao3 qi4"},
        {"third tone at the end has no _2", "天你好", "tian1_1 ni2_2 hao3"},
        {"code of the pair left for the syllable", "天气的", "tian1_1 qi4_2 de1"},
        {"third tones in a row", "你很好", "ni2_1 hen2_2 hao3"},
        {"pair takes a third segment", "天妈妈妈", "tian1_1 ma1_ma1 ma1"},
        {"pair across English", "妈a妈", "ma1_1 ma1"},
        {"doubled third tone without double", "好好", "hao2 hao3"},
        {"surname not tried", "单天", "shan4_1 tian1"},
        {"surname tried later", "天单", "tian1_1 dan1"},
        {"single surname alone", "单", "shan4_1"},
        {"surname without own recording", "任天", "ren2 tian1"},
        {"English counts as Chinese", "hi单", "hi_a hi_b shan4_1"},
        {"surname pair", "欧阳天", "ou1yang2_1 tian1"},
        {"surname pair tried later", "天欧阳", "tian1_1 ou1_2 yang2"},
        {"surname pair across English", "欧a阳", "ou1_1 yang2"},
        {"phrase by syllables", "天五度", "tian1_1 p_wu p_du"},
        {"phrase takes too many segments", "五度天", "p_wu p_du tian1"},
        {"short phrase hides a longer one", "天15度", "tian1_1 p_shi p_wu"},
        {"second phrase spoken", "五度六度", "p_wu p_du liu4 du4"},
        {"phrase behind a surname", "单五度", "shan4_1 p_wu p_du"},
        {"phrase before the surname of its start", "六度", "lu4_1 du4"},
        {"phrase across English", "五hi气", "wu3_1 hi_a hi_b qi4"},
        {"phrase clip no phone, pair rule next", "天度天", "tian1_1 du4_2 tian1"},
        {"phrase clip left in a syllable", "二度天气", "p_er p_du tian1_2 qi4"},
        {"phrase clip left in an unknown word", "二度a", "p_er p_du"},
        {"phrase clip left in a word", "二度hi", "p_er p_du hi_a hi_b"},
        {"phrase clip left in a pair", "二度妈妈", "p_er p_du ma1_ma1"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        const std::string pause = *row.clips == 0 ? "pau_beg" : "pau_beg ";
        EXPECT_EQ(speak(row.text), pause + row.clips);
        EXPECT_EQ(log_with("memory leak") + log_with("clear inputs"), "");
    }
}

TEST_F(Request, FailureDropsTheSpeechOnly) {
    static const std::string
        none = " in eng_ dict & pinyin_dict, clear inputs! ",
        phone = " in eng_ dict & pinyin_dict,but not found in phone_dict, clear inputs! ",
        sound = " found in dict but not found sound in pinyinRawData, clear inputs! ";
    static const struct {
        const char *fault, *text;
        std::string message;
    } rows[] = {
        {"word without clips", "天gap气", "error: not found gap" + none},
        {"missing syllable clip", "天空", "error: not found 空" + none},
        {"reading is no phone", "天东", "error: have found dong1" + phone},
        {"reading is no phone, before English", "东hi", "error: have found dong1" + phone},
        {"reading is no phone, before a syllable", "东天", "error: have found dong1" + phone},
        {"clip of three bytes", "odd", "error: have found odd" + phone},
        {"surname without recording", "曾天", "error: single_surname 曾" + sound},
        {"surname pair without recording", "司马天", "error: poly_surname" + sound},
        {"phrase clip no phone, at the end", "气度", "error: have found 度" + phone},
        {"phrase clip no phone, before English", "度hi天", "error: have found 度" + phone},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        EXPECT_EQ(speak(row.text, GREETING_END, {1}), "pau_beg ch1");
        EXPECT_EQ(log_from("clear inputs"),
                  logged(row.message +
                         "|free_rawDatas 128 |after  vector size:0 capacity=N |read_raw_data 89 |"
                         "short pause inserted at the beginning.|tts with greetings at end |"
                         "new vector size:2 |rawData2WavDram 61 |rawData2WavDram 100 |"
                         "rawData2WavDram 110 |raw to wave finished |free_rawData 118 |"
                         "tts finished |"));
    }
    std::filesystem::remove(root + "pinyinRaw/pau_short");
    EXPECT_EQ(speak("天。"), "pau_beg");
    EXPECT_EQ(log_with("clear inputs"), "I/error: not found error" + none + "\n");
}

TEST_F(Request, LogsEveryLine) {
    speak("你好");
    EXPECT_EQ(output, "word = 好 pinyin = hao3 out = hao3\n");
    EXPECT_EQ(
        log_from(""),
        logged("tts_getWavData 810 |language:0 greets_num:0 position:-1 id0:0 id1:0 |"
               "getNumStrArray 387 str=你好 |getNumStrArray 397 i=0 str_data=\xe4 dig_index=-1 |"
               "getNumStrArray 397 i=1 str_data=\xbd dig_index=-1 |"
               "getNumStrArray 397 i=2 str_data=\xa0 dig_index=-1 |"
               "getNumStrArray 397 i=3 str_data=\xe5 dig_index=-1 |"
               "getNumStrArray 397 i=4 str_data=\xa5 dig_index=-1 |"
               "getNumStrArray 397 i=5 str_data=\xbd dig_index=-1 |"
               "getNumStrArray 456 |num2cn 334 |tts input filted: 你好 |"
               "split_ch_eng 521 pos=0 size=6 ch=你 n=3 |split_ch_eng 521 pos=3 size=6 ch=好 n=3 |"
               "check_temp_exist N |863 check temp exist len len=0 index=0|"
               "vector size before=2, capacity=N |"
               "input elem [0] info : str=你, index=0, type=1 |tts_getWavData 888 |"
               "tts_getWavData 892 |tts_getWavData 895 i=0 index=0 str=你 |double_poly N |"
               "double_poly N splited_str = 你好 |double_poly N |tts_getWavData 897 |"
               "tts_getWavData 919 i=0 |single_surname N |single_surname N |"
               "tts_getWavData 921 i=0 index=0 str=你 surname=-1 |tts_getWavData 969 |"
               "tts_getWavData 971 |tts_getWavData 979 i=0 start=1 |redupli_words 578 |"
               "read_raw_data 89 |input elem [1] info : str=好, index=1, type=1 |"
               "tts_getWavData 888 |tts_getWavData 969 |tts_getWavData 998 i=1 is_last=2 |"
               "pinyin2raw 472 |pinyin2raw 507 |pinyin2raw 522 |soft_tone 43 |soft_tone 48 |"
               "soft_tone 48 |soft_tone 48 |soft_tone 48 |soft_tone 107 words=hao3 |"
               "pinyin2raw 528 |read_raw_data 89 |pinyin2Raw words str = 好 |"
               "tts_getWavData 1000 i=1 index=1 str=好 ret=" +
               bytes("hao3") +
               " |"
               "after  vector size:2 capacity=N |read_raw_data 89 |"
               "short pause inserted at the beginning.|tts without greetings! |"
               "new vector size:3 |rawData2WavDram 61 |rawData2WavDram 100 |rawData2WavDram 110 |"
               "raw to wave finished |free_rawData 118 |free_rawData 118 |free_rawData 118 |"
               "tts finished |"));

    speak("5度Hi气。");
    const std::string hi = std::to_string(samples("hi_a").size() + samples("hi_b").size());
    const strings expected = logged(
        "tts input filted: 五度Hi气。 |split_ch_eng 521 pos=0 size=14 ch=五 n=3 |"
        "split_ch_eng 521 pos=3 size=14 ch=度 n=3 |count_eng_word 465 |"
        "split_ch_eng 545 pos=6 size=14 str=hi n=2 |split_ch_eng 521 pos=8 size=14 ch=气 n=3 |"
        "split_ch_eng 521 pos=11 size=14 ch=。 n=3 |check_temp_exist N |"
        "863 check temp exist len len=2 index=0|vector size before=5, capacity=N |"
        "input elem [0] info : str=五, index=0, type=1 |tts_getWavData 888 |tts_getWavData 892 |"
        "tts_getWavData 895 i=0 index=0 str=五 |double_poly N |double_poly N splited_str = 五度 |"
        "double_poly N |tts_getWavData 897 |tts_getWavData 919 i=0 |single_surname N |"
        "single_surname N |tts_getWavData 921 i=0 index=0 str=五 surname=-1 |"
        "transfer_temp_word N |stringSplit 144 |read_raw_data 89 |read_raw_data 89 |"
        "transfer_temp_word N |input elem [2] info : str=hi, index=2, type=0 |"
        "tts_getWavData 883 |engWord2raw N |stringSplit 144 |read_raw_data 89 |"
        "read_raw_data 89 |free_rawData 118 |free_rawData 118 |engWord2raw N |"
        "tts_getWavData 885 i=2 index=2 str=hi ret=" +
        hi +
        " |"
        "input elem [3] info : str=气, index=3, type=1 |tts_getWavData 888 |tts_getWavData 969 |"
        "tts_getWavData 971 |tts_getWavData 979 i=3 start=2 |redupli_words 578 |"
        "tts_getWavData 998 i=3 is_last=0 |pinyin2raw 472 |pinyin2raw 507 |pinyin2raw 522 |"
        "soft_tone 43 |soft_tone 48 |soft_tone 48 |soft_tone 48 |soft_tone 107 words=qi4 |"
        "pinyin2raw 528 |read_raw_data 89 |pinyin2Raw words str = 气 |"
        "tts_getWavData 1000 i=3 index=3 str=气 ret=" +
        bytes("qi4_2") +
        " |"
        "input elem [4] info : str=。, index=4, type=1 |tts_getWavData 888 |tts_getWavData 969 |"
        "tts_getWavData 998 i=4 is_last=2 |pinyin2raw 472 |pinyin2raw 503 |pinyin2raw 515 |"
        "read_raw_data 89 |pinyin2Raw words str = error |"
        "tts_getWavData 1000 i=4 index=4 str=error ret=" +
        bytes("pau_short") +
        " |"
        "after  vector size:5 capacity=N |");
    EXPECT_EQ(log_from("tts input filted", expected.size()), expected);

    speak("欧阳妈妈东");
    EXPECT_EQ(log_from("tts_getWavData 897", 11),
              logged("tts_getWavData 897 |tts_getWavData 905 i=1 |"
                     "input elem [2] info : str=妈, index=2, type=1 |tts_getWavData 888 |"
                     "tts_getWavData 969 |tts_getWavData 971 |tts_getWavData 979 i=2 start=0 |"
                     "redupli_words 578 |redupli_words 595 |soft_tone 43 |soft_tone 48 |"));
    EXPECT_EQ(log_with("redupli_words 6"), "I/redupli_words 601 \n");
    EXPECT_EQ(log_with("pinyin2raw 53"), "I/pinyin2raw 533 \n");
    speak("司马");
    EXPECT_EQ(log_with("getWavData 91"), "I/tts_getWavData 910 i=0 \n");
    speak("单");
    EXPECT_EQ(log_with("getWavData 924"), "I/tts_getWavData 924 i=0 \n");
}

TEST_F(Request, PlaysGreetings) {
    static const char *const ahead = "tts with greetings ahead |",
                             *const end = "tts with greetings at end |";
    static const std::string refused = "greetings only support english and chinese. |";
    const struct {
        const char *fault;
        int position;
        std::vector<int> ids;
        int language;
        const char *heard;
        std::string lines;
        int segments;
    } rows[] = {
        {"plays", GREETING_CLOSE, {0}, 0, "pau_beg", "tts without greetings! |", 1},
        {"another position plays", 2, {0}, 0, "pau_beg", "", 1},
        {"negative position plays", -2, {0}, 0, "pau_beg", "", 1},
        {"turned round", GREETING_AHEAD, {2, 0, 1}, 0, "ch2 ch0 ch1 pau_beg", ahead, 4},
        {"turned round", GREETING_END, {2, 0, 1}, 0, "pau_beg ch2 ch0 ch1", end, 4},
        {"English not played", GREETING_AHEAD, {1}, 1, "en1 pau_beg", ahead, 2},
        {"English not played", GREETING_END, {1, 1}, 1, "pau_beg en1 en1", end, 3},
        {"another language", GREETING_AHEAD, {1}, 2, "pau_beg", refused + ahead, 1},
        {"another language, no ids", GREETING_END, {}, -1, "pau_beg", refused + end, 1},
        {"no message without ids", GREETING_END, {}, 0, "pau_beg", end, 1},
        {"id at the count", GREETING_AHEAD, {0, 3, 1}, 0, "ch0 ch1 pau_beg", ahead, 4},
        {"id past the count", GREETING_END, {2, 4, 0}, 0, "pau_beg ch2", end, 2},
        {"negative id", GREETING_AHEAD, {2, -1, 0}, 0, "ch2 pau_beg", ahead, 2},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        EXPECT_EQ(speak("", row.position, row.ids, row.language), row.heard);
        const strings expected = logged("short pause inserted at the beginning.|" + row.lines +
                                        "new vector size:" + std::to_string(row.segments) + " |");
        EXPECT_EQ(log_from("short pause", expected.size()), expected);
        EXPECT_EQ(log_with("memory leak"), "");
    }
    int ids[] = {1, 2};
    greet_param_t greeting = {1, -1, ids, GREETING_AHEAD};
    EXPECT_EQ(speak("天", &greeting), "pau_beg tian1_1");
    EXPECT_EQ(log_lines[1], "I/language:1 greets_num:-1 position:0 id0:1 id1:2 \n");
    greeting = {0, 0, nullptr, GREETING_AHEAD};
    EXPECT_EQ(speak("天", &greeting), "pau_beg tian1_1");
    greetings(3, "default_language=1\ndefault_num=5\ndefaule_pos=1\ndefault_id=2\n");
    start();
    EXPECT_EQ(speak("天", nullptr), "pau_beg tian1_1 en2");
    EXPECT_EQ(log_lines[1], "I/language:1 greets_num:1 position:1 id0:2 id1:0 \n");
}

TEST_F(Request, ExceptionLeavesNothingBehind) {
    for (const int count : {64, 70}) {
        std::string ini = "[default_config]\n";
        for (int i = 0; i < count; i++) {
            ini += "[g" + std::to_string(i) + "]\nch_name=ch0\neng_name=en0\n";
        }
        file("greetingRaw/greetings.ini", ini);
        log_lines.clear();
        start();
        EXPECT_EQ(engine->greet_count, count);
        EXPECT_EQ(malloc_count, 128);
        EXPECT_EQ(log_with("exceed"), count == 64 ? ""
                                                  : "I/loaded greeting count exceed default "
                                                    "cnt(64). only load the first 64 greets.\n");
    }
    EXPECT_EQ(speak("", GREETING_END, {63, 71, 64}), "pau_beg ch0");
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
}

TEST_F(Request, ReportsWhatStaysAllocated) {
    std::filesystem::remove(root + "greetingRaw/en1");
    start();
    EXPECT_EQ(log_with("E/"), "E/ERROR! open " + root + "greetingRaw/en1 fail! error = 2\n");
    for (const char *counts : {"6 free_count 1", "7 free_count 2"}) {
        speak("");
        EXPECT_EQ(log_from("memory leak"),
                  logged(std::string("memory leak! malloc_count ") + counts + " |tts finished |"));
    }
    const leaks_expected unreleased;
    clips("greetingRaw/", "en1");
    file("greetingRaw/pau_beg", "");
    start();
    unreleased_buffers = 1;
    EXPECT_EQ(speak("天"), "tian1_1");
    EXPECT_EQ(log_with("memory leak"), "I/memory leak! malloc_count 8 free_count 1 \n");
    file("engRaw/no", "");
    unreleased_buffers = 2;  // a piece without sound, and the pause
    EXPECT_EQ(speak("gap"), "");
}

TEST_F(Request, DescramblesPhrasesOfTwoLanguages) {
    std::string scrambled = samples("p_wu");
    de_encrypt(static_cast<int>(scrambled.size()), scrambled.data(), scrambled.data());
    file("pinyinRaw/p_wu", scrambled);
    for (const int language : {-1, 0, 1, 2, 3, 4}) {
        engine->temp_language = language;
        speak("五度");
        const std::string &expected = language == 2 || language == 3 ? samples("p_wu") : scrambled;
        EXPECT_EQ(image.substr(sizeof(Wav) + samples("pau_beg").size(), expected.size()), expected)
            << language;
    }
}

TEST_F(Request, NeedsRoomForTheImage) {
    capacity =
        static_cast<int>(sizeof(Wav) + samples("pau_beg").size() + samples("tian1_1").size());
    EXPECT_EQ(speak("天"), "pau_beg tian1_1");
    capacity--;
    speak("天");
    EXPECT_EQ(image, "");
    EXPECT_NE(log_with("outof space"), "");
}

TEST_F(Request, ReportsWhatSpoke) {
    static const char *const rules[] = {"english", "surname pair", "surname",  "phrase",
                                        "double",  "third tone",   "syllable", "pause"};
    static const struct {
        const char *text, *runs;  // rule, segments, and the position code where the rule has one
        const char *dropped;
    } rows[] = {
        {"欧阳hi五度妈妈你好。",
         "surname pair 0-1, english 2-2, phrase 3-4, double 5-6 @0, third tone 7-7 @0, "
         "syllable 8-8 @0, pause 9-9 @2, ",
         ""},
        {"单天你好", "surname 0-0, syllable 1-1 @0, third tone 2-2 @2, syllable 3-3 @2, ", ""},
        {"天东", nullptr, "dong1"},
    };
    for (const auto &row : rows) {
        speech_report report;
        std::string text = row.text, buffer(1000, '#'), runs, joined;
        int size = 0, ids[2] = {}, sound = static_cast<int>(44 + samples("pau_beg").size());
        greet_param_t none = {0, 0, ids, GREETING_CLOSE};
        printed([&] {
            tts_speak(engine.get(), text.data(), buffer.data(), &size, 1000, &none, &report);
        });
        for (const auto &run : report.spoken) {
            runs += std::string(rules[static_cast<int>(run.rule)]) + " " +
                    std::to_string(run.first) + "-" + std::to_string(run.first + run.count - 1);
            if (run.rule >= speech_rule::double_clip) runs += " @" + std::to_string(run.position);
            runs += ", ";
            sound += run.length;
        }
        for (const auto &segment : report.texts) joined += segment;
        EXPECT_EQ(joined, row.text);
        EXPECT_EQ(report.dropped.empty(), *row.dropped == 0);
        EXPECT_NE(report.dropped.find(row.dropped), std::string::npos) << report.dropped;
        if (row.runs == nullptr) continue;
        EXPECT_EQ(runs, row.runs);
        EXPECT_EQ(sound, size);
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
    EXPECT_EQ((strings{e.engDictPath, e.pinyinDictPath, e.pinyinSinglePath, e.pinyinDuralPath,
                       e.phoneDictPath, e.pinyinTempPath}),
              (strings{root + "eng_dict.txt", root + "pinyin_dict.txt",
                       root + "surname_pinyin_single.txt", root + "surname_pinyin_dural.txt",
                       root + "yinsu.txt", root + "dst_temperature.txt"}));
    EXPECT_EQ((strings{e.pinyinRawPath, e.tempRawPath, e.engRawPath, e.greetingRawPath}),
              (strings{root + "pinyinRaw/", root + "pinyinRaw/", root + "engRaw/",
                       root + "greetingRaw/"}));
    EXPECT_EQ(e.temp_language, CHINESE);
    EXPECT_EQ(e.greetingData_ch[1].str + e.greetingData_eng[1].str + e.greetingData_ch[2].str,
              "ch1en1");
    EXPECT_EQ(heard(e.greetingData_eng[1].rawData), "en1");
    EXPECT_EQ(e.greetingData_eng[1].type, 2);
    EXPECT_EQ(e.greetingData_eng[1].index, -1);
    EXPECT_EQ(log_lines.back(), "I/tts init succee! \n");
}

TEST_F(StartUp, ReadsTheGreetings) {
    const std::string c = "[default_config]\n", n31(31, 'n'), n32(32, 'n'), n900(900, 'n'),
                      section(300, 's'), xy = "ch_name=x\neng_name=y\n";
    const struct {
        const char *fault;
        std::string ini;
        int count;
        std::string read;  // id, Chinese and English name
        strings refused;   // section and length of names
    } rows[] = {
        {"greeting without section", c, 0, "", {}},
        {"no section at all", "", -1, "", {}},
        {"order lost, or one id kept", c + "[b]\nid=2\n" + xy + "[a]\nid=2\n", 2, "2 x y;2  ;", {}},
        {"missing keys", c + "[a]\n[b]\nch_name=x\n[c]\neng_name=\n", 3, "-1  ;-1 x ;-1  ;", {}},
        {"first section read", "[a]\n" + xy + c + "id=4\ndefault_id=3\n", 1, "4  ;", {}},
        {"long section cut", c + "[" + section + "]\nid=5\n" + xy, 1, "5 x y;", {}},
        {"31 bytes refused", c + "[a]\nch_name=" + n31 + "\n", 1, "-1 " + n31 + " ;", {}},
        {"32 bytes taken",
         c + "[aa]\nch_name=" + n32 + "\neng_name=y\n[bb]\neng_name=" + n900 + "\n",
         2,
         "-1  y;-1  ;",
         {"aa", "32", "bb", "900"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fault);
        file("greetings.ini", row.ini);
        log_lines.clear();
        const greetings_info group = create_group_from(root + "greetings.ini");
        EXPECT_EQ(group.count, row.count);
        std::string read;
        for (const auto &g : group.greetings) {
            read += std::to_string(g.greet_id) + " " + g.ch_name + " " + g.eng_name + ";";
        }
        EXPECT_EQ(read, row.read);
        EXPECT_EQ(log_lines[0], "I/greeting count " + std::to_string(row.count) + " \n");
        const std::string errors = log_with("E/ERROR!");
        EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), row.refused.size() / 2);
        for (const auto &part : row.refused) EXPECT_NE(errors.find(part), std::string::npos);
    }
    greetings(1,
              "default_language=1\ndefault_num=2\ndefaule_pos=3\ndefault_id=4\n"
              "temperature_language=5\ndefault_pos=9\n");
    log_lines.clear();
    const greeting_config g = create_group_from(root + "greetingRaw/greetings.ini").gConfig;
    EXPECT_EQ((std::vector<int>{g.default_language, g.default_num, g.default_pos, g.default_id,
                                g.language_tmp}),
              (std::vector<int>{1, 2, 3, 4, 5}));
    EXPECT_EQ(log_lines,
              logged("greeting count 1 |item[1] name : greeting0 |item[1] id : 0 |"
                     "item[1] ch_name : ch0 |item[1] ch_content : C0 |item[1] eng_name : en0 |"
                     "item[1] eng_content : E0 |"));
    greetings(0);
    EXPECT_EQ(create_group_from(root + "greetingRaw/greetings.ini").gConfig.default_pos, -1);
}

TEST_F(StartUp, EmptyNameLoadsNothing) {
    for (const char *ini : {"", "[default_config]\n[a]\nch_name=\n"}) {
        file("greetingRaw/greetings.ini", ini);
        start();
        EXPECT_EQ(malloc_count, 0);
        EXPECT_EQ(log_with("E/"), "");
        EXPECT_EQ(engine->greetingData_ch[0].type, *ini == 0 ? 0 : 2);
        EXPECT_EQ(speak("", GREETING_AHEAD, {0}), "pau_beg");
        EXPECT_NE(log_with("memory leak"), "");  // two clips per configured greeting, -1 too
    }
}
