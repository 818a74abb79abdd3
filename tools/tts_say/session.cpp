#include "session.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <utility>

#include "common/files.h"
#include "common/messages.h"
#include "engine_start.h"
#include "file_descriptor.h"
#include "lexicon_types.h"

namespace fs = std::filesystem;
using namespace tts_tools;

namespace {

constexpr size_t kFirstBuffer = size_t{1} << 20;  // half a minute
constexpr size_t kLastBuffer = size_t{1} << 27;   // more than an hour
constexpr int kSlots = sizeof(tts_engine_t::greetingData_ch) / sizeof(split_rawData);

}  // namespace

void check_tree(const std::string &root) {
    // A name that ends in a slash is a directory.
    for (const char *name : {"", "greetingRaw/greetings.ini", "eng_dict.txt", "pinyin_dict.txt",
                             "surname_pinyin_single.txt", "surname_pinyin_dural.txt", "yinsu.txt",
                             "dst_temperature.txt", "pinyinRaw/"}) {
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

namespace {

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

}  // namespace

session open_session(const options &o) {
    session s{start_engine(o.root), o.greeting, {}, {}, {}, {}};
    warn_of_paths(s.engine);
    check_greetings(s.ids, s.engine);
    s.ids.resize(std::max<size_t>(s.ids.size(), 2));
    s.greeting = {o.language, static_cast<int>(o.greeting.size()), s.ids.data(), o.position};
    s.buffer.resize(kFirstBuffer);
    return s;
}

namespace {

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

}  // namespace

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
