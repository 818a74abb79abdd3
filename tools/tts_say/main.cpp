// tts-say: speaks text from the command line, a file or standard input.
#include <android/log.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <set>

#include "common/files.h"
#include "common/messages.h"
#include "engine_start.h"
#include "explain.h"
#include "file_descriptor.h"
#include "input.h"
#include "lexicon_types.h"
#include "options.h"
#include "output.h"
#include "speech_report.h"
#include "tts_util.h"

namespace fs = std::filesystem;
using namespace tts_tools;

namespace {

constexpr size_t kFirstBuffer = size_t{1} << 20;  // half a minute
constexpr size_t kLastBuffer = size_t{1} << 27;   // more than an hour
constexpr int kSlots = sizeof(tts_engine_t::greetingData_ch) / sizeof(split_rawData);
constexpr double kBytesPerSecond = 32000;

// What the engine cannot do without: it would end the process, or be silent. A name that ends in a
// slash is a directory.
constexpr const char *kTree[] = {
    "",
    "greetingRaw/greetings.ini",
    "eng_dict.txt",
    "pinyin_dict.txt",
    "surname_pinyin_single.txt",
    "surname_pinyin_dural.txt",
    "yinsu.txt",
    "dst_temperature.txt",
    "pinyinRaw/",
};

void check_tree(const std::string &root) {
    for (const char *name : kTree) {
        const fs::path path = fs::path(root) / name;
        const bool directory = !path.has_filename();
        if (access(path.c_str(), R_OK) != 0) throw cannot("read", path);
        if (directory) continue;
        const file_descriptor file(path.c_str());
        if (file.get() >= 0 && file.regular_size(INT_MAX) >= 0) continue;
        throw errno == EINVAL || errno == EISDIR
            ? failure("cannot read " + path.string() + ": not a regular file")
            : cannot("read", path);
    }
}

// Set while the engine starts: then it ends the process when it cannot, as if all were well.
const char *starting_root = nullptr;

void fail_unfinished_start() {
    if (starting_root == nullptr) return;
    fprintf(stderr,
            "tts-say: %s: the engine did not start; greetingRaw/greetings.ini has a syntax error, "
            "or memory is short\n",
            starting_root);
    _exit(EXIT_FAILURE);
}

tts_engine_t &start_engine(const std::string &root) {
    // Never released: the engine lives as long as the process. Volatile, so that the store stays
    // and a leak checker finds the engine.
    static void *volatile handle;
    const struct start_watch {
        explicit start_watch(const char *root) { starting_root = root; }
        ~start_watch() { starting_root = nullptr; }
    } watch(root.c_str());
    atexit(fail_unfinished_start);
    handle = tts_init_root(root);
    auto &engine = *static_cast<tts_engine_t *>(handle);
    if (engine.dict_phone.empty()) throw failure(engine.phoneDictPath + ": lists no syllable");
    return engine;
}

// The engine reads any path that its lexicons name. One warning is enough for a list.
bool warns_of_path(const std::string &list, const std::string &name) {
    if (name.find('/') == std::string::npos) return false;
    warn("warning: " + list + " names \"" + name + "\", a file outside the directory of its clips");
    return true;
}

void warn_of_paths(const tts_engine_t &e) {
    const std::pair<const std::string &, const dict_map &> lexicons[] = {
        {e.engDictPath, e.dict_english},
        {e.pinyinSinglePath, e.dict_single},
        {e.pinyinDuralPath, e.dict_dural}};
    for (const auto &[list, lexicon] : lexicons) {
        std::any_of(lexicon.begin(), lexicon.end(), [&list = list](const auto &entry) {
            return warns_of_path(list, entry.second);
        });
    }
    std::any_of(e.dict_phone.begin(), e.dict_phone.end(),
                [&](const std::string &name) { return warns_of_path(e.phoneDictPath, name); });
    for (const auto *slots : {e.greetingData_ch, e.greetingData_eng}) {
        const bool warned = std::any_of(slots, slots + kSlots, [&](const split_rawData &slot) {
            return warns_of_path(e.greetingRawPath + "greetings.ini", slot.str);
        });
        if (warned) break;
    }
}

void check_greetings(const std::vector<int> &ids, const tts_engine_t &engine) {
    const int count = std::min(engine.greet_count, kSlots);
    for (const int id : ids) {
        if (id >= 0 && id < count) continue;
        throw failure("greeting " + std::to_string(id) +
                      " does not exist: " + engine.greetingRawPath + "greetings.ini has " +
                      std::to_string(count) + " (counted from 0)");
    }
}

struct session {
    const options &opts;
    tts_engine_t &engine;
    std::vector<int> ids;  // never fewer than two: the engine reads so many
    greet_param_t greeting;
    std::vector<char> buffer;
    speech_report report;              // of the line spoken last
    std::set<std::string> unreadable;  // lines that made the engine throw; the others are spoken
};

session open_session(const options &o) {
    session s{o, start_engine(o.root), o.greeting, {}, {}, {}, {}};
    warn_of_paths(s.engine);
    check_greetings(s.ids, s.engine);
    s.ids.resize(std::max<size_t>(s.ids.size(), 2));
    s.greeting = {o.language, static_cast<int>(o.greeting.size()), s.ids.data(), o.position};
    s.buffer.resize(kFirstBuffer);
    return s;
}

// The size of the image in bytes; 0 when it does not fit; -1 when the engine threw, which is
// reported once for each line.
int speak_once(session &s, const utterance &line) {
    std::string text = line.text;
    int size = 0;
    s.report = {};
    try {
        tts_speak(&s.engine, text.data(), s.buffer.data(), &size, static_cast<int>(s.buffer.size()),
                  &s.greeting, &s.report);
    } catch (const std::bad_alloc &) {
        throw failure(line.where + ": not enough memory to speak it");
    } catch (const std::exception &e) {
        if (s.unreadable.insert(line.where).second) {
            warn(line.where + ": the engine cannot read this text (" + e.what() + ")");
        }
        return -1;
    }
    return size;
}

size_t image_bytes(const speech_report &report) {
    return std::accumulate(
        report.spoken.begin(), report.spoken.end(), sizeof(Wav),
        [](size_t sum, const spoken_run &run) { return sum + static_cast<size_t>(run.length); });
}

// The WAV image of a line, in the session's buffer; empty when the engine cannot read it. When it
// does not fit, the buffer grows to what the report says that it takes.
std::string_view speak(session &s, const utterance &line) {
    for (;;) {
        const int size = speak_once(s, line);
        if (size < 0) return {};
        if (size > 0) return {s.buffer.data(), static_cast<size_t>(size)};
        const size_t needed = image_bytes(s.report);
        if (needed > kLastBuffer) {
            throw failure(line.where + ": more than " + std::to_string(kLastBuffer >> 20U) +
                          " MiB of sound in one line");
        }
        s.buffer = std::vector<char>(needed);
    }
}

std::string_view sound_of(std::string_view image) {
    return image.substr(sizeof(Wav));
}

// Shows how a line was spoken if that was asked for; else warns when speech was dropped.
void report_speech(const session &s, const utterance &line) {
    if (s.opts.explain) {
        const std::string table =
            printable(line.where + ": " + line.text) + "\n" + explain(s.report) + "\n";
        show(table, is_standard_output(s.opts.output));
    } else if (!s.report.dropped.empty()) {
        warn(line.where + ": speech dropped: " + drop_reason(s.report));
    }
}

// The header of all lines as one image. They are spoken once more for it: a pipe cannot be
// rewound, and a text may have more sound than memory.
Wav common_header(session &s, const std::vector<utterance> &lines) {
    uint64_t sound = 0;
    Wav wav = {};
    for (const utterance &line : lines) {
        const std::string_view image = speak(s, line);
        if (image.empty()) continue;
        memcpy(&wav, image.data(), sizeof(wav));
        sound += sound_of(image).size();
    }
    if (sound > UINT32_MAX - sizeof(wav)) {
        throw failure(name_of_output(s.opts.output) +
                      ": more sound than a WAV file can hold; --raw has no limit");
    }
    wav.data.length = static_cast<uint32_t>(sound);
    wav.riff.resource_length = static_cast<uint32_t>(sound + sizeof(wav) - 8);
    return wav;
}

void say_to_stream(session &s, const std::vector<utterance> &lines) {
    const Wav wav = s.opts.raw ? Wav{} : common_header(s, lines);
    if (s.unreadable.size() == lines.size()) return;
    sink out(s.opts.output);
    if (!s.opts.raw) out.write({reinterpret_cast<const char *>(&wav), sizeof(wav)});
    for (const utterance &line : lines) {
        const std::string_view image = speak(s, line);
        if (image.empty()) continue;
        report_speech(s, line);
        out.write(sound_of(image));
    }
    out.finish();
}

// say.wav, or of several lines say-1.wav, say-2.wav and so on.
std::string file_name(const std::string &output, size_t number, size_t count) {
    if (count == 1) return output;
    const fs::path path = output;
    fs::path name = path.stem();
    name += "-" + std::to_string(number);
    name += path.extension();
    return path.parent_path() / name;
}

void say_to_file(session &s, std::string_view image, const std::string &name) {
    replace_file(name, s.opts.raw ? sound_of(image) : image);
    if (!s.opts.announce) return;
    char seconds[32];
    snprintf(seconds, sizeof(seconds), "%.2f s",
             static_cast<double>(sound_of(image).size()) / kBytesPerSecond);
    show(printable(fs::absolute(name).string()) + ": " + seconds + "\n");
}

void say_to_files(session &s, const std::vector<utterance> &lines) {
    if (!s.opts.output.empty()) clear_leftovers_beside(s.opts.output);
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string_view image = speak(s, lines[i]);
        if (image.empty()) continue;
        report_speech(s, lines[i]);
        if (s.opts.output.empty()) continue;
        say_to_file(s, image, file_name(s.opts.output, i + 1, lines.size()));
    }
}

std::vector<utterance> read_lines(const options &o) {
    if (o.text.empty()) {
        return cut_lines(read_text(o.file), o.file == "-" ? "standard input" : o.file);
    }
    std::string text;
    for (const std::string &word : o.text) text += (text.empty() ? "" : " ") + word;
    return cut_lines(text, "TEXT");
}

int run(int argc, char **argv) try {
    const options o = read_options(argc, argv);
    const std::vector<utterance> lines = read_lines(o);
    check_tree(o.root);
    take_standard_output(o.verbose);
    if (!o.verbose) __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    session s = open_session(o);
    if (!o.output.empty() && takes_all_lines(o.output)) {
        say_to_stream(s, lines);
    } else {
        say_to_files(s, lines);
    }
    close_standard_output();
    return s.unreadable.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const nothing_to_say &end) {
    return end.status;
}

}  // namespace

int main(int argc, char **argv) {
    return run_program(run, argc, argv);
}
