// A whole request, text and greetings from bytes, on a small tree in which every rule has a case.
#include <memory>

#include "harness.h"

namespace {

constexpr const char *kPinyin =
    "零=ling2\n一=yi1\n二=er4\n三=san1\n四=si4\n五=wu3\n六=liu4\n七=qi1\n八=ba1\n九=jiu3\n十=shi2\n"
    "百=bai3\n千=qian1\n万=wan4\n亿=yi4\n兆=zhao4\n点=dian3\n负=fu4\n度=du4\n你=ni3\n好=hao3\n"
    "妈=ma1\n的=de\n短=duan3\n欧=ou1\n阳=yang2\n单=dan1\n错=error\n空=\n外=wai4\n声=m\n响=xiang3\n"
    "回=hui2\r\n";
constexpr const char *kPhones =
    "ling2 yi1 er4 san1 san1_1 si4 wu3 wu2 liu4 qi1 ba1 jiu3 shi2 shi2_2 bai3 bai2_1 qian1 wan4 "
    "yi4 zhao4 dian3 fu4 du4 ni3 ni2 ni2_1 hao3 hao2_2 hao3_1 ma1 ma1_ma1 de de1 duan3 ou1 yang2 "
    "dan1 shan4 xiang3 none pau_short last";
constexpr const char *kPhrases =
    "二十五度=er4 shi2 wu3 du4\n五度=wu3\n三度=san1 absent\n四度=si4 si4 si4 du4\n零度=\n"
    "=ni3\nhi度=du4\n好=hao3 none\nx\n";
constexpr const char *kEnglish =
    "hi\nhi\noh\noh,,hi\nab\na,b,\nempty\n\nodd\nnone\na\na\ntwo\nhi,none\nlast";

std::string lines_of(const char *words) {
    std::string lines;
    for (const std::string &word : pieces_of(words, ' ')) lines += word + "\n";
    return lines;
}

std::unique_ptr<tts_engine_t, engine_owner> start(const resource_tree &tree) {
    tree.file("pinyin_dict.txt", kPinyin);
    tree.file("yinsu.txt", lines_of(kPhones));
    tree.file("dst_temperature.txt", kPhrases);
    tree.file("eng_dict.txt", kEnglish);
    tree.file("surname_pinyin_single.txt", "单=shan4\n仇=qiu2\n的=de\n");
    tree.file("surname_pinyin_dural.txt", "欧阳=ou1yang2\n单于=chan2yu2\n");
    size_t bytes = 2;
    for (const std::string &name : pieces_of(kPhones, ' ')) {
        if (name != "none") tree.clip("pinyinRaw/" + name, bytes = 2 + bytes % 7);
    }
    tree.clip("pinyinRaw/duan3", 3);  // lengths that read as codes
    tree.clip("pinyinRaw/xiang3", 1);
    tree.clip("pinyinRaw/ou1yang2_1", 8);
    for (const char *name : {"hi", "oh", "b"}) tree.clip(std::string("engRaw/") + name, 4);
    tree.clip("engRaw/a", 1);
    // More greetings than there are places, two with clips.
    std::string ini = "[default_config]\ndefault_num=3\ndefaule_pos=1\ndefault_id=1\n";
    for (int n = 0; n < 66; ++n) ini += "[g" + std::to_string(n) + "]\nch_name=c\neng_name=e\n";
    tree.file("greetingRaw/greetings.ini", ini);
    tree.clip("greetingRaw/c", 2);
    tree.clip("greetingRaw/e", 5);
    return std::unique_ptr<tts_engine_t, engine_owner>(
        static_cast<tts_engine_t *>(tts_init_root(tree.root)));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const resource_tree tree;
    static const auto engine = start(tree);
    input bytes(data, size);
    check_request(*engine, bytes);
    return 0;
}
