// The engine's functions one by one, on a small voice made for the run.
#include <android/log.h>
#include <benchmark/benchmark.h>

#include <filesystem>
#include <iostream>

#include "measure.h"
#include "rules.h"
#include "tts_util.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kClipBytes = 8192;  // a quarter of a second
constexpr int kPhones = 4000;

void write_file(const fs::path &path, const std::string &bytes) {
    FILE *file = fopen(path.c_str(), "wb");
    if (file == nullptr || fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
        fclose(file) != 0) {
        fail(path.string() + ": cannot be written");
    }
}

struct small_voice {
    small_voice() : root((fs::temp_directory_path() / "tts_bench.XXXXXX").string()) {
        if (mkdtemp(root.data()) == nullptr) fail(root + ": cannot be made");
        root += '/';
        for (int n = 0; n < kPhones; ++n)
            phones.push_back("name" + std::to_string(n * 7919 % 1000003));
        for (const char *name : {"ni3", "ni2", "hao3", "ma1_ma1", "ma1"}) {
            phones.insert(phones.begin() + kPhones / 2, name);
            write_file(root + name, std::string(kClipBytes, 'x'));
        }
        std::string lexicon, words, names;
        for (int n = 0; n < 20000; ++n) lexicon += "key" + std::to_string(n) + "=zhuang4\n";
        for (int n = 0; n < 2500; ++n) words += "word" + std::to_string(n) + "\na.raw,b.raw\n";
        for (const std::string &name : phones) names += name + "\n";
        write_file(root + "lexicon", lexicon);
        write_file(root + "words", words);
        write_file(root + "names", names);
        index = index_phones(phones);
        for (int n = 0; n < 166; ++n) phrases["二十" + std::to_string(n) + "度"] = "du4";
    }
    small_voice(const small_voice &) = delete;
    ~small_voice() { fs::remove_all(root); }

    std::string root;
    phone_list phones;
    phone_index index;
    dict_map readings = {{"你", "ni3"}, {"好", "hao3"}, {"妈", "ma1"}};
    dict_map english = {{"hello", "ni3,hao3"}};
    dict_map phrases;
};

const small_voice &voice() {
    static const small_voice made;
    return made;
}

void release(benchmark::State &state, split_rawData &segment) {
    if (segment.rawData.length != kClipBytes && segment.rawData.length != 2 * kClipBytes) {
        state.SkipWithError("no clip");
    }
    free_rawData(segment.rawData);
    segment.rawData = {};
}

void numbers(benchmark::State &state) {
    const std::string text = "室内25度，电话13812345678，第1234567度";
    for (auto _ : state) benchmark::DoNotOptimize(num2cn(getNumStrArray(text), text));
}
BENCHMARK(numbers);

void segmentation(benchmark::State &state) {
    for (auto _ : state) {
        std::string text = "从前有一座山，山上有一座庙wifi已连接";
        benchmark::DoNotOptimize(split_ch_eng(text));
    }
}
BENCHMARK(segmentation);

void tone_completion(benchmark::State &state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(complete_tone("zhuang", {voice().phones, voice().index}));
}
BENCHMARK(tone_completion);

void syllable(benchmark::State &state) {
    for (auto _ : state) {
        split_rawData segment = {"好", 1, 0, {}};
        pinyin2raw(segment, &voice().readings, voice().root, 0, voice().phones);
        release(state, segment);
    }
}
BENCHMARK(syllable);

void pair_rule(benchmark::State &state, const char *first, const char *second) {
    for (auto _ : state) {
        split_rawData segments[] = {{first, 1, 0, {}}, {second, 1, 1, {}}};
        redupli_words(segments[0], segments[1], voice().readings, voice().root, voice().phones, 0);
        release(state, segments[0]);
    }
}
BENCHMARK_CAPTURE(pair_rule, doubled, "妈", "妈");
BENCHMARK_CAPTURE(pair_rule, third_tones, "你", "好");

void phrase_search(benchmark::State &state, std::string text) {
    const std::vector<split_rawData> segments = split_ch_eng(text);
    int index = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(check_temp_exist(segments, voice().phrases, index));
}
BENCHMARK_CAPTURE(phrase_search, absent, "从前有一座山山上有一座庙");
BENCHMARK_CAPTURE(phrase_search, near, "从前有一座山山高一百度");

void english_word(benchmark::State &state) {
    for (auto _ : state) {
        split_rawData segment = {"hello", 0, 0, {}};
        engWord2raw(segment, &voice().english, voice().root);
        release(state, segment);
    }
}
BENCHMARK(english_word);

void clip_loading(benchmark::State &state) {
    const std::string path = voice().root + "ni3";
    for (auto _ : state) {
        split_rawData segment = {"", 1, 0, read_raw_data(path.c_str())};
        release(state, segment);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kClipBytes));
}
BENCHMARK(clip_loading);

void wav_writing(benchmark::State &state) {
    std::vector<int16_t> sound(kClipBytes / 2);
    std::vector<char> image(sizeof(Wav) + 20 * kClipBytes);
    const std::vector<split_rawData> segments(20, {"", 1, 0, {sound.data(), kClipBytes}});
    for (auto _ : state) {
        if (rawData2WavDram(segments, image.data(), static_cast<int>(image.size())) == 0) {
            state.SkipWithError("does not fit");
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(image.size()));
}
BENCHMARK(wav_writing);

template <typename Container>
void loader(benchmark::State &state, int (*load)(const std::string &, Container &),
            const char *name) {
    for (auto _ : state) {
        Container loaded;
        if (load(voice().root + name, loaded) <= 0) state.SkipWithError("nothing loaded");
        benchmark::DoNotOptimize(loaded);
    }
}
BENCHMARK_CAPTURE(loader, lexicon_20000, load_pinyin_dict, "lexicon")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(loader, english_2500, load_eng_dict, "words")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(loader, phone_list_4000, load_all_phone, "names")->Unit(benchmark::kMillisecond);

}  // namespace

// The table goes to standard error: the engine prints on standard output.
int main(int argc, char **argv) {
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    benchmark::Initialize(&argc, argv);
    benchmark::ConsoleReporter table;
    table.SetOutputStream(&std::cerr);
    table.SetErrorStream(&std::cerr);
    if (freopen("/dev/null", "w", stdout) == nullptr) return 1;
    benchmark::RunSpecifiedBenchmarks(&table);
}
