#include "harness.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

// The log is discarded, but every line is formatted, which finds wrong arguments.
extern "C" __attribute__((format(printf, 3, 4))) int __android_log_print(int priority,
                                                                         const char *tag,
                                                                         const char *format, ...);
int __android_log_print(int priority, const char *tag, const char *format, ...) {
    CHECK((priority == 4 || priority == 6) && strcmp(tag, "TTS_ENGINE") == 0);
    static char line[1 << 16];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(line, sizeof(line), format, args);
    va_end(args);
    CHECK(length >= 0);
    return 1;
}

void check_failed(const char *file, int line, const char *what) {
    fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    abort();
}

namespace {
[[maybe_unused]] const FILE *const quiet = freopen("/dev/null", "w", stdout);
}

int input::number() {
    if (left_.empty()) return 0;
    const int number = static_cast<unsigned char>(left_.front()) - '0';
    left_.remove_prefix(1);
    return number;
}

std::string input::piece(char end) {
    const size_t length = std::min(left_.find(end), left_.size());
    const std::string piece(left_.substr(0, length));
    left_.remove_prefix(std::min(length + 1, left_.size()));
    return piece;
}

std::vector<std::string> pieces_of(const std::string &bytes, char separator) {
    std::vector<std::string> pieces(1);
    for (const char c : bytes) {
        if (c == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += c;
        }
    }
    if (pieces.back().empty()) pieces.pop_back();
    return pieces;
}

const char *file_of(const std::string &bytes) {
    static const int file = memfd_create("fuzz", MFD_CLOEXEC);
    static const std::string name = "/proc/self/fd/" + std::to_string(file);
    CHECK(ftruncate(file, 0) == 0);
    CHECK(pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    return name.c_str();
}

resource_tree::resource_tree() {
    clip("greetingRaw/pau_beg", kPause);
    clip("pinyinRaw/pau_short", 4);
}

bool resource_tree::clip(const std::string &name, size_t bytes) const {
    const std::string last = name.substr(name.rfind('/') + 1);
    const bool possible = !last.empty() && last != "." && last != ".." && last.size() < 200 &&
                          last.find('\0') == std::string::npos;
    if (possible) file(name, std::string(bytes, 's'));
    return possible;
}

void engine_owner::operator()(tts_engine_t *engine) const {
    for (int i = 0; i < 64; ++i) {
        free(engine->greetingData_ch[i].rawData.addr);
        free(engine->greetingData_eng[i].rawData.addr);
    }
    delete engine;
}

extern "C" {
__attribute__((weak)) void __lsan_disable();
__attribute__((weak)) void __lsan_enable();
}

leak_permission::leak_permission(bool granted) : granted_(granted && __lsan_disable != nullptr) {
    if (granted_) __lsan_disable();
}

leak_permission::~leak_permission() {
    if (granted_) __lsan_enable();
}

constexpr size_t kMostCapacity = 1 << 20;

outcome speak(tts_engine_t &engine, std::string text, greet_param_t *greeting, int buf_size,
              const request_limits &limits, speech_report *report) {
    outcome out;
    static const std::string kUntouched(kMostCapacity + 64, '#');
    const auto capacity = static_cast<size_t>(limits.capacity);
    CHECK(capacity <= kMostCapacity);
    out.buffer = kUntouched.substr(0, capacity + 64);
    const int alive = malloc_count - free_count;
    const leak_permission permission(limits.may_leak);
    try {
        if (report != nullptr) {
            tts_speak(&engine, text.data(), out.buffer.data(), &out.size, buf_size, greeting,
                      report);
        } else {
            tts_getWavData(&engine, text.data(), out.buffer.data(), &out.size, buf_size, greeting);
        }
    } catch (const std::out_of_range &) {
        out.threw = true;
    }
    const int left = malloc_count - free_count - alive;
    CHECK(left == 0 || (limits.may_leak && left > 0));
    CHECK(out.size == 0 || (!out.threw && out.size >= 44 && out.size <= buf_size));
    const auto end = static_cast<size_t>(out.size);
    CHECK(memcmp(&out.buffer[end], kUntouched.data(), out.buffer.size() - end) == 0);
    return out;
}

namespace {

// The bytes of sound that the greetings add; the call does not return when an id is too large.
int64_t greeting_bytes(const tts_engine_t &engine, const greet_param_t &greeting, int position) {
    const bool played = (position == 0 || position == 1) &&
                        (greeting.language_type == 0 || greeting.language_type == 1);
    const auto *slots =
        greeting.language_type == 1 ? engine.greetingData_eng : engine.greetingData_ch;
    int64_t bytes = 0;
    for (int k = 0; played && engine.greet_count > 0 && k < greeting.greeting_num; ++k) {
        const int id = greeting.greeting_id[k];
        if (id < 0 || id > engine.greet_count) break;
        CHECK(id < 64);
        bytes += slots[id].rawData.length;
    }
    return bytes;
}

void check_header(const std::string &image) {
    const auto number = [&image](size_t at, int bytes) {
        uint32_t value = 0;
        for (int i = bytes; i > 0; --i)
            value =
                value << 8U | static_cast<unsigned char>(image[at + static_cast<size_t>(i) - 1]);
        return value;
    };
    CHECK(image.compare(0, 4, "RIFF") == 0 && image.compare(8, 8, "WAVEfmt ") == 0);
    CHECK(number(4, 4) == image.size() - 8 && number(16, 4) == 16);
    CHECK(number(20, 2) == 1 && number(22, 2) == 1 && number(24, 4) == 16000);
    CHECK(number(28, 4) == 32000 && number(32, 2) == 2 && number(34, 2) == 16);
    CHECK(image.compare(36, 4, "data") == 0 && number(40, 4) == image.size() - 44);
}

// The runs have the text of all segments in its order, unless the speech was dropped. Returns the
// bytes of sound of the whole report.
int64_t check_report(const speech_report &report, const std::string &text) {
    std::string spoken_text;
    int64_t bytes = 0;
    for (const spoken_run &run : report.spoken) {
        CHECK(run.length >= 0);
        bytes += run.length;
        if (run.rule == speech_rule::leading_pause || run.rule == speech_rule::greeting) continue;
        const char first = run.text.at(0);
        CHECK((run.rule == speech_rule::english) == (first >= 'a' && first <= 'z'));
        CHECK(run.rule == speech_rule::english || !run.clips.empty() || run.length == 0);
        spoken_text += run.text;
    }
    std::string segmented;
    std::string numbers_read = num2cn(getNumStrArray(text), text);
    for (const split_rawData &segment : split_ch_eng(numbers_read)) segmented += segment.str;
    CHECK(spoken_text == (report.dropped.empty() ? segmented : ""));
    return bytes;
}

}  // namespace

void check_request(tts_engine_t &engine, input &bytes, const request_limits &limits) {
    const bool defaults = bytes.number() == 1;
    const greeting_config &config = engine.default_config;
    greet_param_t greeting = {};
    greeting.language_type = bytes.number();
    greeting.greeting_num = bytes.number();
    int position = bytes.number();
    int ids[] = {bytes.number(), bytes.number(), bytes.number(), -1};
    if (defaults) {
        greeting.language_type = config.default_language;
        greeting.greeting_num = std::min(config.default_num, 1);
        position = config.default_pos;
        ids[0] = config.default_id;
    }
    greeting.greeting_id = ids;
    memcpy(&greeting.pos, &position, sizeof(position));
    const int spare = bytes.number();
    const std::string text = bytes.piece('\0');

    greet_param_t *const asked = defaults ? nullptr : &greeting;
    speech_report report;
    const outcome first = speak(engine, text, asked, limits.capacity, limits, &report);
    if (first.threw) return;
    const int64_t size = 44 + check_report(report, text);
    int64_t around = limits.pause + greeting_bytes(engine, greeting, position);
    for (const spoken_run &run : report.spoken) {
        if (run.rule == speech_rule::leading_pause || run.rule == speech_rule::greeting) {
            around -= run.length;
        }
    }
    CHECK(around == 0);
    CHECK(first.size == (size <= limits.capacity ? size : 0));
    if (first.size == 0) return;
    check_header(first.buffer.substr(0, static_cast<size_t>(first.size)));

    // One byte less than it takes, exactly enough, one more: the same image, or none.
    const int buf_size = first.size + std::abs(spare % 3) - 1;
    const outcome again = speak(engine, text, asked, buf_size, limits, nullptr);
    CHECK(!again.threw && again.size == (buf_size >= first.size ? first.size : 0));
    CHECK(again.size == 0 || again.buffer == first.buffer);
}
