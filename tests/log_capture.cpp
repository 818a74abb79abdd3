#include "log_capture.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <sstream>

extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

strings log_lines;

// The library leaves this undefined, and what the program defines comes before the log library.
extern "C" __attribute__((format(printf, 3, 4))) int __android_log_print(int priority,
                                                                         const char *tag,
                                                                         const char *format, ...);
int __android_log_print(int priority, const char *tag, const char *format, ...) {
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

std::string log_with(const std::string &part) {
    std::string found;
    for (const auto &line : log_lines) {
        if (line.find(part) != std::string::npos) found += line;
    }
    return found;
}

strings log_from(const std::string &part, size_t count) {
    strings lines;
    for (auto line : log_lines) {
        if (lines.empty() && line.find(part) == std::string::npos) continue;
        for (const char *before : {"capacity=", "I/check_temp_exist ", "I/transfer_temp_word ",
                                   "I/double_poly ", "I/single_surname ", "I/engWord2raw "}) {
            size_t at = line.find(before);
            if (at == std::string::npos) continue;
            at += std::strlen(before);
            line.replace(at, line.find_first_not_of("0123456789", at) - at, "N");
        }
        if (lines.size() < count) lines.push_back(line);
    }
    return lines;
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
    struct redirection {
        int file = memfd_create("stdout", 0), saved = dup(STDOUT_FILENO);
        void put(int target) {
            std::fflush(stdout);
            dup2(target, STDOUT_FILENO);
        }
        ~redirection() {
            put(saved);
            close(saved);
            close(file);
        }
    } output;
    output.put(output.file);
    call();
    output.put(output.saved);
    std::string text(static_cast<size_t>(lseek(output.file, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(output.file, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

leaks_expected::leaks_expected() {
    if (__lsan_disable != nullptr) __lsan_disable();
}
leaks_expected::~leaks_expected() {
    if (__lsan_enable != nullptr) __lsan_enable();
}
