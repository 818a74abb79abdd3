#include "log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <sstream>

strings log_lines;
bool log_kept = true;
bool faults_armed = false;

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

static bool contains(const std::string &line, const std::string &part) {
    return line.find(part) != std::string::npos;
}

std::string log_with(const std::string &part) {
    std::string found;
    for (const auto &line : log_lines) found += contains(line, part) ? line : "";
    return found;
}

strings log_from(const std::string &part) {
    const auto has_part = [&part](const auto &line) { return contains(line, part); };
    return {std::find_if(log_lines.begin(), log_lines.end(), has_part), log_lines.end()};
}

strings logged(const std::string &lines) {
    strings result;
    std::istringstream in(lines);
    std::string name;
    for (std::string line; std::getline(in, line, '|'); name = line.substr(0, line.find(' '))) {
        if (line[0] == '>') line.replace(0, 1, name);
        result.push_back("I/" + line + "\n");
    }
    return result;
}

strings words_of(const std::string &text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

std::string printed(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    try {
        call();
    } catch (...) {
        testing::internal::GetCapturedStdout();
        throw;
    }
    return testing::internal::GetCapturedStdout();
}
