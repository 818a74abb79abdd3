// Many requests in one process: memory stays flat, and the same text stays the same sound.
//
// soak_test [REQUESTS [ROOT]]   default: 5000 requests on a small tree made for it
#include <unistd.h>

#include <cstdio>

#include "tiny_voice.h"

strings log_lines;

extern "C" int __android_log_print(int /*priority*/, const char * /*tag*/, const char * /*format*/,
                                   ...) {
    return 1;
}
// What the address sanitizer keeps of released memory would look like growth.
extern "C" const char *__asan_default_options() {
    return "quarantine_size_mb=1";
}

strings words_of(const std::string &text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

namespace {

int requests = 5000;
std::string real_tree;

class Soak : public TinyVoice {
  protected:
    // A lexicon for the characters of the texts, with clips as long as those of a real voice.
    void make_tree() {
        std::string lexicon, inventory, all;
        for (const char *text : kTexts) all += text;
        for (const auto &segment : split_ch_eng(all)) {
            if (segment.type == 0) continue;
            const std::string name = "s" + std::to_string(segment.index) + "3";
            lexicon += segment.str + "=" + name + "\n";
            inventory += name + "\n";
            file("pinyinRaw/" + name, std::string(8000, 'x') + name);
        }
        file("pinyin_dict.txt", lexicon);
        file("yinsu.txt", inventory);
        file("eng_dict.txt", "wifi\nw,f\n");
        for (const char *name : {"engRaw/w", "engRaw/f"}) file(name, std::string(6000, 'e'));
        greetings(2);
    }
    std::string speak(int n) {
        std::string text = kTexts[static_cast<size_t>(n) % std::size(kTexts)];
        const size_t number = text.find('#');
        if (number != std::string::npos) text.replace(number, 1, std::to_string(n % 60));
        int size = 0, ids[] = {n % 2, 0};
        greet_param_t greeting{n % 2, 1, ids, n % 3 == 0 ? GREETING_AHEAD : GREETING_END};
        tts_getWavData(engine.get(), text.data(), buffer.data(), &size,
                       static_cast<int>(buffer.size()), &greeting);
        return buffer.substr(0, static_cast<size_t>(size));
    }
    static long resident_kb() {
        std::ifstream in("/proc/self/status");
        for (std::string word; in >> word;) {
            if (word == "VmRSS:" && in >> word) return std::stol(word);
        }
        return -1;
    }

    static constexpr const char *kTexts[] = {
        "今天天气很好，室外温度#度，适合出门散步。", "您好，欢迎使用语音播报服务。",
        "单先生您好，您的电话是13800138000。",       "室内25.5度，wifi已连接，请放心使用。",
        "前方五百米右转，然后直行#公里。",           "现在是2024年5月1日，星期三，零下#度。",
        "妈妈慢慢地看着星星，爸爸常常喝水。",        "unknown words 和没有读音的字：龘#",
    };
    std::string buffer = std::string(1 << 22, '\0');
};

}  // namespace

TEST_F(Soak, MemoryStaysFlat) {
    if (real_tree.empty()) make_tree();
    if (!real_tree.empty()) std::swap(root, real_tree);
    start();
    const int alive = malloc_count - free_count;
    std::fflush(stdout);
    const int output_before = dup(STDOUT_FILENO);
    ASSERT_NE(std::freopen("/dev/null", "w", stdout), nullptr);
    strings first;
    long before = 0;
    for (int n = 0; n < requests; n++) {
        image = speak(n);
        if (n < 480) first.push_back(image);  // every text with every number and greeting
        if (n == 1000) before = resident_kb();
    }
    const long after = resident_kb();
    int differing = 0;
    for (int n = 0; n < 480; n++) differing += speak(n) != first[static_cast<size_t>(n)];
    std::fflush(stdout);
    dup2(output_before, STDOUT_FILENO);
    EXPECT_EQ(differing, 0);
    EXPECT_GT(first[0].size(), sizeof(Wav) + samples("pau_beg").size());
    std::fprintf(stderr, "resident %ld kB after 1000 requests, %ld kB after %d\n", before, after,
                 requests);
    // One byte lost by every request takes 32 bytes of heap, 125 kB in all; half of that is let
    // through for pages that come and go.
    EXPECT_LT(after - before, 62);
    EXPECT_EQ(malloc_count - free_count, alive);
    if (!real_tree.empty()) std::swap(root, real_tree);  // the small tree goes, the real one stays
}

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (argc > 1) requests = std::stoi(argv[1]);
    if (argc > 2) real_tree = std::string(argv[2]) + "/";
    return RUN_ALL_TESTS();
}
