// What the engine says, in its log and on standard output, and a voice whose clips consist of
// blanks and their names, so an image reads back as the names of the clips it is made of. Lists of
// names are written with blanks between them. Included once in a program.
#ifndef SUPPORT_TINY_VOICE_H
#define SUPPORT_TINY_VOICE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>

#include "engine_start.h"
#include "lexicon_types.h"
#include "support/minimal_tree.h"
#include "tts_util.h"

using strings = std::vector<std::string>;

// Every log line since the last clear(), whole: "I/text\n" for information, "E/text\n" for errors.
inline strings log_lines;

// Whether lines are kept: not where memory is short, or where two threads log.
inline bool log_kept = true;

// Whether calls of the engine are counted and may fail (fault_test); off within the capture.
inline bool faults_armed = false;

// The library leaves this undefined, and what the program defines comes before the log library.
extern "C" __attribute__((format(printf, 3, 4))) int __android_log_print(int priority,
                                                                         const char *tag,
                                                                         const char *format, ...) {
    if (!log_kept) return 1;
    const struct disarming {
        bool armed = std::exchange(faults_armed, false);
        ~disarming() { faults_armed = armed; }
    } disarmed;
    EXPECT_STREQ(tag, "TTS_ENGINE");
    va_list args, measured;
    va_start(args, format);
    va_copy(measured, args);
    std::string text(static_cast<size_t>(std::vsnprintf(nullptr, 0, format, measured)) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, args);
    va_end(measured);
    va_end(args);
    text.pop_back();
    log_lines.push_back((priority == 4 ? "I/" : priority == 6 ? "E/" : "?/") + text);
    return 1;
}

// The log lines that contain `part`, one after the other.
inline std::string log_with(const std::string &part) {
    std::string found;
    for (const auto &line : log_lines) found += line.find(part) != line.npos ? line : "";
    return found;
}

inline std::string whole_log() {
    return log_with({});
}

// The log from the first line that contains `part` on.
inline std::string log_from(const std::string &part) {
    const std::string log = whole_log();
    return log.substr(log.rfind('\n', log.find(part)) + 1);
}

inline strings words_of(const std::string &text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

// Runs `call` and returns what it printed to standard output. Exceptions pass through.
inline std::string printed(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    try {
        call();
    } catch (...) {
        testing::internal::GetCapturedStdout();
        throw;
    }
    return testing::internal::GetCapturedStdout();
}

// At the start the lexicons are empty, the pauses have clips, and there are no greetings.
class TinyVoice : public ::testing::Test, protected minimal_tree {
  protected:
    TinyVoice() {
        clips("greetingRaw/", "pau_beg");
        clips("pinyinRaw/", "pau_short");
        malloc_count = free_count = 0;
        log_lines.clear();
    }
    ~TinyVoice() override { stop(); }

    static std::string samples(const std::string &name) {
        return std::string(4 - name.size() % 4, ' ') + name;
    }

    void clips(const std::string &dir, const std::string &names) {
        for (const auto &name : words_of(names)) file(dir + name, samples(name));
    }

    // The phone inventory, each phone with its clip.
    void phones(const std::string &names) {
        std::string lines;
        for (const auto &name : words_of(names)) lines += name + "\n";
        file("yinsu.txt", lines);
        clips("pinyinRaw/", names);
    }

    // Scrambles phrase clips.
    void scramble(const std::string &names) {
        for (const auto &name : words_of(names)) {
            std::string bytes = samples(name);
            de_encrypt(static_cast<int>(bytes.size()), bytes.data(), bytes.data());
            file("pinyinRaw/" + name, bytes);
        }
    }

    // Greeting n consists of the clips "ch<n>" and "en<n>".
    void greetings(int count, const std::string &defaults = "") {
        std::string ini = "[default_config]\n" + defaults;
        for (int n = 0; n < count; n++) {
            const std::string i = std::to_string(n);
            ini += "[greeting" + i + "]\nid=" + i + "\nch_name=ch" + i + "\nch_content=C" + i +
                   "\neng_name=en" + i + "\neng_content=E" + i + "\n";
            clips("greetingRaw/", "ch" + i + " en" + i);
        }
        file("greetingRaw/greetings.ini", ini);
    }

    // Every call of the engine itself.
    virtual void engine_call(const std::function<void()> &call) { call(); }

    // The counters start at 0 with the engine.
    void start() {
        stop();
        malloc_count = free_count = 0;
        engine_call([this] { engine.reset(static_cast<tts_engine_t *>(tts_init_root(root))); });
    }

    // Greeting clips belong to the record, which the engine itself never releases.
    void stop() {
        for (int i = 0; engine != nullptr && i < 64; i++) {
            std::free(engine->greetingData_ch[i].rawData.addr);
            std::free(engine->greetingData_eng[i].rawData.addr);
        }
        engine.reset();
    }

    // The clips of sound, in order.
    static std::string heard(const std::string &sound) {
        std::string result;
        for (const auto &name : words_of(sound)) result += (result.empty() ? "" : " ") + name;
        return result;
    }
    static std::string heard(const rawData_t &clip) {
        return heard({reinterpret_cast<const char *>(clip.addr), static_cast<size_t>(clip.length)});
    }

    // Speaks, and sees that the request released what it loaded, also when it ends in an exception.
    std::string speak(const std::string &text, greet_param_t *greeting) {
        struct balance {
            int unreleased, alive = malloc_count - free_count;
            ~balance() { EXPECT_EQ(malloc_count - free_count, alive + unreleased); }
        } checked{unreleased_buffers};
        std::string copy = text, buffer(1 << 14, '#');
        int size = -1;
        log_lines.clear();
        const auto call = [&] {
            tts_getWavData(engine.get(), copy.data(), buffer.data(), &size, 1 << 14, greeting);
        };
        output = printed([&] { engine_call(call); });
        EXPECT_EQ(buffer.find_first_not_of('#', static_cast<size_t>(size)), std::string::npos);
        buffer.resize(static_cast<size_t>(size));
        return heard(buffer.erase(0, sizeof(Wav)));
    }
    std::string speak(const std::string &text, int position = GREETING_CLOSE,
                      std::vector<int> ids = {}, int language = 0) {
        const int count = static_cast<int>(ids.size());
        ids.resize(ids.size() + 2);
        greet_param_t greeting{language, count, ids.data(), {}};
        std::memcpy(&greeting.pos, &position, sizeof position);
        return speak(text, &greeting);
    }

    std::unique_ptr<tts_engine_t> engine;
    int unreleased_buffers = 0;  // zero-byte buffers that each request leaves
    std::string output;          // of the last speak()
};

#endif
