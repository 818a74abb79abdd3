// What the engine says: its log lines and its standard output. Included once in a program.
#ifndef LOG_CAPTURE_H
#define LOG_CAPTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

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

// The log from the first line that contains `part` on.
inline strings log_from(const std::string &part) {
    const auto has_part = [&](const std::string &line) { return line.find(part) != line.npos; };
    return {std::find_if(log_lines.begin(), log_lines.end(), has_part), log_lines.end()};
}

// Information lines as written in a test: each without its "I/", with "|" for its line feed and
// with ">" for the function's name in the line before.
inline strings logged(const std::string &lines) {
    strings result;
    std::istringstream in(lines);
    std::string name;
    for (std::string line; std::getline(in, line, '|'); name = line.substr(0, line.find(' '))) {
        if (line[0] == '>') line.replace(0, 1, name);
        result.push_back("I/" + line + "\n");
    }
    return result;
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

#endif
