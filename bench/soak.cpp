// Many requests in one process: memory stays flat, and the same text stays the same sound.
// Usage: soak ROOT [REQUESTS]      ends with 1 when something grew or differs
#include <android/log.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "engine_start.h"
#include "tts_ext.h"
#include "tts_util.h"

namespace {

// # becomes a number.
constexpr const char *kTexts[] = {
    "今天天气很好，室外温度#度，适合出门散步。", "您好，欢迎使用语音播报服务。",
    "单先生您好，您的电话是13800138000。",       "室内25.5度，wifi已连接，请放心使用。",
    "前方五百米右转，然后直行#公里。",           "现在是2024年5月1日，星期三，零下#度。",
    "妈妈慢慢地看着星星，爸爸常常喝水。",        "unknown words 和没有读音的字：龘#",
};
constexpr int kDifferent = 480;  // requests until texts, numbers and greetings come again
constexpr int kSettled = 1000;
constexpr long kGrowthKb = 128;  // pages that come and go; 200,000 lost bytes take 6 MB

size_t speak(void *engine, int n) {
    static std::vector<char> image(1 << 22);
    std::string text = kTexts[static_cast<size_t>(n) % std::size(kTexts)];
    const size_t number = text.find('#');
    if (number != std::string::npos) text.replace(number, 1, std::to_string(n % 60));
    int size = 0, ids[] = {n % 2, 0};
    greet_param_t greeting{n % 2, 1, ids, n % 3 == 0 ? GREETING_AHEAD : GREETING_END};
    tts_getWavData(engine, text.data(), image.data(), &size, static_cast<int>(image.size()),
                   &greeting);
    return std::hash<std::string_view>()({image.data(), static_cast<size_t>(size)});
}

long resident_kb() {
    std::ifstream in("/proc/self/status");
    for (std::string word; in >> word;) {
        if (word == "VmRSS:" && in >> word) return std::stol(word);
    }
    return -1;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) return 2;
    const int requests = argc > 2 ? std::atoi(argv[2]) : 200000;
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    void *const engine = tts_init_root(argv[1]);
    const int alive = malloc_count - free_count;
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;  // the engine's own lines
    std::vector<size_t> first;
    int differing = 0;
    long before = 0;
    for (int n = 0; n < requests; ++n) {
        const size_t hash = speak(engine, n);
        if (n < kDifferent) first.push_back(hash);
        if (n == kSettled) before = resident_kb();
        if (n >= kDifferent) differing += hash != first[static_cast<size_t>(n % kDifferent)];
    }
    const long after = resident_kb();
    const int kept = malloc_count - free_count - alive;
    std::fprintf(stderr,
                 "%d requests: resident %ld kB after %d, %ld kB at the end; %d clips kept, %d "
                 "images differ\n",
                 requests, before, kSettled, after, kept, differing);
    return after - before > kGrowthKb || kept != 0 || differing != 0;
}
