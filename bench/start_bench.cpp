// One start-up in a separate process, so that its time and memory are those of a fresh host.
// Usage: start_bench engine|floor|same DIRECTORY
// Prints milliseconds of processor time and the KiB of resident memory before and after. The floor
// reads the same files in one go each and puts the same pairs into the same map type; "same"
// compares the two.
#include <android/log.h>

#include <cstring>
#include <string_view>

#include "engine_start.h"
#include "lexicon_types.h"
#include "measure.h"
#include "tts_util.h"

namespace {

struct tables {
    dict_map english, pinyin, single, dural, temp;
    phone_list phones;
    std::vector<std::string> greetings;  // the clips
};

template <typename Take>
void each_line(const std::string &content, Take take) {
    for (size_t start = 0; start < content.size();) {
        const size_t end = std::min(content.find('\n', start), content.size());
        take(std::string_view(content).substr(start, end - start));
        start = end + 1;
    }
}

void put_pairs(const std::string &path, dict_map &dict) {
    each_line(content_of(path), [&](std::string_view line) {
        const size_t equals = line.find('=');
        dict[std::string(line.substr(0, equals))] = line.substr(equals + 1);
    });
}

void put_words(const std::string &path, dict_map &dict) {
    std::string_view key;
    each_line(content_of(path), [&](std::string_view line) {
        if (!key.empty()) dict.emplace(key, line);
        key = key.empty() ? line : std::string_view();
    });
}

tables *start_floor(const std::string &root) {
    auto *t = new tables;
    const std::string greetings = root + "greetingRaw/";
    each_line(content_of(greetings + "greetings.ini"), [&](std::string_view line) {
        const size_t value = line.find("_name = ");
        if (value == std::string_view::npos) return;
        t->greetings.push_back(content_of(greetings + std::string(line.substr(value + 8))));
    });
    put_words(root + "eng_dict.txt", t->english);
    put_pairs(root + "pinyin_dict.txt", t->pinyin);
    put_pairs(root + "surname_pinyin_single.txt", t->single);
    put_pairs(root + "surname_pinyin_dural.txt", t->dural);
    put_pairs(root + "dst_temperature.txt", t->temp);
    each_line(content_of(root + "yinsu.txt"),
              [&](std::string_view line) { t->phones.emplace_back(line); });
    return t;
}

// Rss counts every resident page of the process, the pages of its libraries included.
long resident_kib() {
    char text[4096] = {};
    read_bare("/proc/self/smaps_rollup", text, sizeof text - 1);
    const char *rss = strstr(text, "Rss:");
    return rss != nullptr ? strtol(rss + 4, nullptr, 10) : 0;
}

template <typename Start>
void measure(Start start) {
    const long before = resident_kib();
    const double began = processor_ms();
    const void *volatile handle = start();
    const double ended = processor_ms();
    printf("%.4f %ld %ld\n", ended - began, before, resident_kib());
    static_cast<void>(handle);
}

void compare(const tts_engine_t &engine, const tables &floor) {
    const bool same = engine.dict_english == floor.english && engine.dict_pinyin == floor.pinyin &&
                      engine.dict_single == floor.single && engine.dict_dural == floor.dural &&
                      engine.dict_temp == floor.temp && engine.dict_phone == floor.phones;
    if (!same) fail("the floor does not hold what the engine holds");
    size_t clips = 0;
    for (const std::string &clip : floor.greetings) clips += clip.size();
    for (const auto *slots : {engine.greetingData_ch, engine.greetingData_eng}) {
        for (int i = 0; i < 64; ++i) clips -= static_cast<size_t>(slots[i].rawData.length);
    }
    if (clips != 0) fail("the floor does not hold the engine's greetings");
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) fail("usage: start_bench engine|floor|same DIRECTORY");
    const std::string mode = argv[1];
    const std::string root = std::string(argv[2]) + "/";
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    if (mode == "engine") measure([&] { return tts_init_root(root); });
    if (mode == "floor") measure([&] { return start_floor(root); });
    if (mode == "same") {
        compare(*static_cast<const tts_engine_t *>(tts_init_root(root)), *start_floor(root));
    }
}
