// Whole requests and start-ups against their floors, and their growth, in one run.
// Usage: request_bench VOICE [GROWTH]   VOICE: a voice directory; GROWTH: file for the curves
#include <android/log.h>
#include <espeak-ng/speak_lib.h>
#include <flite/flite.h>
#include <sys/syscall.h>

#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>

#include "engine_start.h"
#include "measure.h"
#include "tts_util.h"

extern "C" cst_voice *register_cmu_us_kal16(const char *voxdir);

namespace fs = std::filesystem;

namespace {

constexpr double kBytesPerSecond = 32000;
constexpr size_t kImageBytes = size_t{1} << 28;

// What a request opens and when, recorded by this program's own open() and close(), which the
// library calls.
struct {
    bool on = false;
    std::string below;  // only files below this directory
    std::vector<std::string> opened;
    double first_closed = 0;
} watch;

}  // namespace

extern "C" int open(const char *path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const int mode = (flags & O_CREAT) != 0 ? va_arg(args, int) : 0;
    va_end(args);
    if (watch.on && strncmp(path, watch.below.c_str(), watch.below.size()) == 0) {
        watch.opened.emplace_back(path);
    }
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

extern "C" int close(int fd) {
    const auto result = static_cast<int>(syscall(SYS_close, fd));
    if (watch.on && watch.first_closed == 0) watch.first_closed = now_ms();
    return result;
}

namespace {

FILE *report = nullptr;  // standard output; the engine's own lines go nowhere
FILE *curves = nullptr;
const std::unique_ptr<char[]> image(new char[kImageBytes]);

constexpr const char *kSentences[] = {
    "好",
    "今天天气很好",
    "室内25度，湿度百分之六十，空气质量良好",
    "请打开客厅的灯，把音量调到百分之三十",
    "会议改到明天下午三点半，地点在二楼会议室，请大家准时参加",
    "wifi已连接，电话13812345678，请慢慢说，你好，欢迎使用",
    "从前有一座山，山上有一座庙，庙里有一个老和尚正在给小和尚讲一个很长很长的故事",
};

struct engine_t {
    explicit engine_t(const std::string &directory)
        : root(directory), handle(static_cast<tts_engine_t *>(tts_init_root(directory))) {}
    std::string root;
    tts_engine_t *handle;
};

// Sound bytes of a request without greetings.
size_t speak(const engine_t &engine, const std::string &text) {
    int ids[2] = {0, 0};
    greet_param_t greeting = {0, 0, ids, GREETING_CLOSE};
    std::string copy = text;
    int size = 0;
    tts_getWavData(engine.handle, copy.data(), image.get(), &size, kImageBytes, &greeting);
    if (size <= static_cast<int>(sizeof(Wav))) fail("no sound: " + text.substr(0, 100));
    return static_cast<size_t>(size) - sizeof(Wav);
}

// Repeats a request, and what is compared with it, in turn: both meet the same neighbours.
std::vector<spread> repeat(const std::vector<std::function<void()>> &calls, int most, double ms) {
    std::vector<std::vector<double>> times(calls.size());
    const double end = now_ms() + ms;
    for (int n = 0; n < most && (n < 5 || now_ms() < end); ++n) {
        for (size_t i = 0; i < calls.size(); ++i) {
            const double began = now_ms();
            calls[i]();
            times[i].push_back(now_ms() - began);
        }
    }
    std::vector<spread> spreads;
    for (const auto &list : times) spreads.push_back(spread_of(list));
    return spreads;
}

struct request_files {
    std::vector<std::string> clips;
    double first_clip;  // milliseconds from the call until the first clip is loaded
};

request_files files_of(const engine_t &engine, const std::string &text) {
    watch = {true, engine.root, {}, 0};
    const double began = now_ms();
    const size_t bytes = speak(engine, text);
    watch.on = false;
    size_t sum = 0;
    for (const std::string &path : watch.opened) sum += fs::file_size(path);
    if (sum != bytes) fail("the floor reads other clips than the request: " + text.substr(0, 100));
    return {watch.opened, watch.first_closed - began};
}

// The floor: what no engine that keeps no clips in memory can do without.
void read_clips(const std::vector<std::string> &clips) {
    size_t at = 0;
    for (const auto &clip : clips) at += read_bare(clip, image.get() + at, kImageBytes - at);
}

void measure_requests(const engine_t &engine) {
    fprintf(report,
            "\nrequest, trace silenced, ms: least (median)\n%5s %5s %7s %17s %17s %6s %9s %8s\n",
            "chars", "clips", "audio s", "request", "floor", "ratio", "ms/audios", "1st clip");
    double request_sum = 0, floor_sum = 0, audio_sum = 0;
    for (const char *text : kSentences) {
        const std::vector<std::string> clips = files_of(engine, text).clips;
        const double seconds = static_cast<double>(speak(engine, text)) / kBytesPerSecond;
        const auto floor = [&] { read_clips(clips); };
        const auto times = repeat({[&] { speak(engine, text); }, floor}, 3000, 2000);
        std::vector<double> first;
        for (int n = 0; n < 300; ++n) first.push_back(files_of(engine, text).first_clip);
        std::string copy = text;
        fprintf(report, "%5zu %5zu %7.2f %8.4f (%6.4f) %8.4f (%6.4f) %6.2f %9.4f %8.4f\n",
                split_ch_eng(copy).size(), clips.size(), seconds, times[0].least, times[0].median,
                times[1].least, times[1].median, times[0].least / times[1].least,
                times[0].least / seconds, spread_of(first).least);
        request_sum += times[0].least;
        floor_sum += times[1].least;
        audio_sum += seconds;
    }
    fprintf(report,
            "all: %.4f ms, floor %.4f ms, ratio %.2f; %.4f ms per second of audio, floor %.4f\n",
            request_sum, floor_sum, request_sum / floor_sum, request_sum / audio_sum,
            floor_sum / audio_sum);
}

struct started {
    double ms;
    long before, after;  // KiB of resident memory
};

std::string run(const std::string &mode, const std::string &root) {
    FILE *child = popen(("'" START_BENCH "' " + mode + " '" + root + "'").c_str(), "r");
    std::string text(256, '\0');
    text.resize(fread(text.data(), 1, text.size(), child));
    if (pclose(child) != 0) fail("start_bench " + mode + " failed");
    return text;
}

started start_once(const std::string &mode, const std::string &root) {
    started s = {0, 0, 0};
    const std::string line = run(mode, root);
    if (sscanf(line.c_str(), "%lf %ld %ld", &s.ms, &s.before, &s.after) != 3) fail("no figures");
    return s;
}

struct start_pair {
    spread engine, floor;
    started engine_memory, floor_memory;
};

start_pair measure_start(const std::string &root, int runs) {
    run("same", root);
    std::vector<double> engine, floor;
    start_pair p = {};
    for (int n = 0; n < runs; ++n) {
        p.engine_memory = start_once("engine", root);
        p.floor_memory = start_once("floor", root);
        engine.push_back(p.engine_memory.ms);
        floor.push_back(p.floor_memory.ms);
    }
    p.engine = spread_of(engine);
    p.floor = spread_of(floor);
    return p;
}

void print_start(const std::string &root) {
    const start_pair p = measure_start(root, 40);
    const long engine = p.engine_memory.after - p.engine_memory.before;
    const long floor = p.floor_memory.after - p.floor_memory.before;
    fprintf(report,
            "\nstart-up, processor time: %.2f ms (%.2f), floor %.2f ms (%.2f), ratio %.2f\n",
            p.engine.least, p.engine.median, p.floor.least, p.floor.median,
            p.engine.least / p.floor.least);
    fprintf(report,
            "resident memory grows by %ld KiB, floor %ld KiB, ratio %.2f; whole process %ld KiB\n",
            engine, floor, static_cast<double>(engine) / static_cast<double>(floor),
            p.engine_memory.after);
}

// ---- other kinds of engine, for scale ----

// The readings of a text, which both can speak; without tones for the one that knows no Chinese.
std::string readings_of(const engine_t &engine, const std::string &text) {
    std::string words = num2cn(getNumStrArray(text), text);
    std::string result;
    for (const split_rawData &segment : split_ch_eng(words)) {
        const auto reading = engine.handle->dict_pinyin.find(segment.str);
        result += reading != engine.handle->dict_pinyin.end() ? reading->second : segment.str;
        result += ' ';
    }
    return result;
}

size_t espeak_samples = 0;
int count_samples(short * /*sound*/, int count, espeak_EVENT * /*events*/) {
    espeak_samples += static_cast<size_t>(count);
    return 0;
}

void measure_others(const engine_t &engine) {
    const int rate = espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, 0, nullptr, 0);
    espeak_SetSynthCallback(count_samples);
    if (rate <= 0 || espeak_SetVoiceByName("cmn-latn-pinyin") != EE_OK) fail("no espeak-ng voice");
    flite_init();
    cst_voice *voice = register_cmu_us_kal16(nullptr);
    double ms[2] = {0, 0}, seconds[2] = {0, 0};
    for (const char *text : kSentences) {
        const std::string readings = readings_of(engine, text);
        std::string toneless = readings;
        delete_digit(toneless);
        double flite_seconds = 0;
        const auto by_espeak = [&] {
            espeak_samples = 0;
            espeak_Synth(readings.c_str(), readings.size() + 1, 0, POS_CHARACTER, 0,
                         espeakCHARS_UTF8, nullptr, nullptr);
        };
        const auto by_flite = [&] {
            cst_wave *wave = flite_text_to_wave(toneless.c_str(), voice);
            flite_seconds = static_cast<double>(wave->num_samples) / wave->sample_rate;
            delete_wave(wave);
        };
        const auto times = repeat({by_espeak, by_flite}, 30, 1000);
        if (espeak_samples == 0 || flite_seconds <= 0) fail("another engine is silent");
        ms[0] += times[0].least;
        ms[1] += times[1].least;
        seconds[0] += static_cast<double>(espeak_samples) / rate;
        seconds[1] += flite_seconds;
    }
    fprintf(report, "\nthe same sentences: espeak-ng %.3f ms per second of audio, flite %.3f\n",
            ms[0] / seconds[0], ms[1] / seconds[1]);
}

// ---- growth ----

void point(const char *curve, const char *kind, size_t n, double ms) {
    fprintf(report, "%-8s %-14s %8zu %12.4f ms %10.6f ms each\n", curve, kind, n, ms,
            ms / static_cast<double>(n));
    if (curves != nullptr) fprintf(curves, "%s\t%s\t%zu\t%.4f\n", curve, kind, n, ms);
}

size_t characters(const std::string &text) {
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

void grow_text(const engine_t &engine) {
    static constexpr struct {
        const char *kind, *unit;  // ten characters each
    } kTexts[] = {{"Chinese", "今天我们去公园看花吧"},
                  {"numbers", "第25页有38个字。"},
                  {"English", "hello you "}};
    for (const auto &row : kTexts) {
        if (characters(row.unit) != 10) fail("a unit is ten characters");
        for (const size_t length : {10U, 100U, 1000U, 10000U}) {
            std::string text;
            for (size_t n = 0; n < length; n += 10) text += row.unit;
            const request_files files = files_of(engine, text);
            const auto floor = [&] { read_clips(files.clips); };
            const auto times = repeat({[&] { speak(engine, text); }, floor}, 1000, 1500);
            point("text", row.kind, length, times[0].least);
            point("text", (std::string(row.kind) + " floor").c_str(), length, times[1].least);
        }
    }
}

void write_lines(const fs::path &path, const std::vector<std::string> &lines) {
    FILE *file = fopen(path.c_str(), "w");
    if (file == nullptr) fail(path.string() + ": cannot be written");
    for (const std::string &line : lines) fprintf(file, "%s\n", line.c_str());
    if (fclose(file) != 0) fail(path.string() + ": cannot be written");
}

// A voice made of links to another, with one list replaced.
struct variant_tree {
    variant_tree(const std::string &voice, const std::string &name,
                 const std::vector<std::string> &lines)
        : root((fs::temp_directory_path() / "tts_bench.XXXXXX").string()) {
        if (mkdtemp(root.data()) == nullptr) fail(root + ": cannot be made");
        for (const auto &entry : fs::directory_iterator(voice)) {
            const fs::path own = root / entry.path().filename();
            if (own.filename() != name) fs::create_symlink(fs::canonical(entry.path()), own);
        }
        write_lines(fs::path(root) / name, lines);
    }
    variant_tree(const variant_tree &) = delete;
    ~variant_tree() { fs::remove_all(root); }
    std::string root;
};

// The phones of one sentence, evenly between names that it does not ask for.
void grow_phone_list(const engine_t &engine) {
    const char *const text = kSentences[6];
    std::set<std::string> used;
    for (const std::string &clip : files_of(engine, text).clips)
        used.insert(fs::path(clip).filename());
    for (const std::string &reading : stringSplit(readings_of(engine, text), ' '))
        used.insert(reading);
    for (const size_t count : {500U, 1000U, 2000U, 5000U, 10000U, 20000U, 50000U}) {
        std::vector<std::string> lines;
        auto next = used.begin();
        for (size_t n = 0; n < count; ++n) {
            const bool turn = next != used.end() && n % (count / (used.size() + 1)) == 1;
            lines.push_back(turn ? *next++ : "name" + std::to_string(n * 7919 % 1000003));
        }
        if (next != used.end()) fail("a phone was left out");
        const variant_tree tree(engine.root, "yinsu.txt", lines);
        const engine_t own(tree.root);
        if (speak(own, text) != speak(engine, text)) fail("the other list speaks otherwise");
        const auto times = repeat({[&] { speak(own, text); }}, 1500, 1000);
        point("phones", "request", count, times[0].least);
    }
}

void grow_lexicon(const engine_t &engine) {
    const auto character = [](size_t n) {  // one of 20,000
        const size_t code = 0x4E00 + n;
        return std::string{static_cast<char>(0xE0 | code >> 12U),
                           static_cast<char>(0x80 | (code >> 6U & 0x3FU)),
                           static_cast<char>(0x80 | (code & 0x3FU))};
    };
    for (const size_t count : {1000U, 10000U, 100000U, 1000000U}) {
        std::vector<std::string> lines;
        for (size_t n = 0; n < count; ++n) {
            const std::string second = n < 20000 ? "" : character(n / 20000);
            lines.push_back(character(n % 20000) + second + "=zhuang4");
        }
        const variant_tree tree(engine.root, "pinyin_dict.txt", lines);
        const start_pair p = measure_start(tree.root, count < 1000000 ? 15 : 5);
        point("lexicon", "start-up", count, p.engine.least);
        point("lexicon", "floor", count, p.floor.least);
    }
}

void keep_report() {
    report = fdopen(dup(STDOUT_FILENO), "w");
    if (report == nullptr || freopen("/dev/null", "w", stdout) == nullptr)
        fail("no standard output");
    setvbuf(report, nullptr, _IOLBF, 0);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2 && argc != 3) fail("usage: request_bench VOICE [GROWTH]");
    keep_report();
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    if (argc == 3 && (curves = fopen(argv[2], "w")) == nullptr)
        fail("growth file: cannot be written");
    const engine_t engine(argv[1]);
    measure_requests(engine);
    print_start(engine.root);
    measure_others(engine);
    fprintf(report, "\ngrowth\n");
    grow_text(engine);
    grow_phone_list(engine);
    grow_lexicon(engine);
    if (curves != nullptr && fclose(curves) != 0) fail("growth file: cannot be written");
}
