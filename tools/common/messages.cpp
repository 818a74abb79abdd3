#include "common/messages.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include "common/failure.h"
#include "common/files.h"
#include "common/temporary_directory.h"
#include "common/utf8.h"

namespace tts_tools {

namespace {

// U+0000 to U+001F, U+007F, and U+0080 to U+009F, which is as good as an escape to some terminals.
bool is_control(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1) return first < 0x20 || first == 0x7f;
    return first == 0xc2 && static_cast<unsigned char>(character[1]) < 0xa0;
}

bool memory_ran_out = false;

void say_not_enough_memory() {
    std::fprintf(stderr, "%s: not enough memory\n", program_invocation_short_name);
}

// When memory runs out, some functions of the C++ library terminate the process instead of passing
// the exception on, and before main() nothing catches one. This prints the message in these cases.
__attribute__((constructor(101))) void prepare_for_short_memory() {
    std::set_new_handler([] {
        memory_ran_out = true;
        throw std::bad_alloc();
    });
    std::set_terminate([] {
        if (!memory_ran_out) std::abort();
        say_not_enough_memory();
        _exit(EXIT_FAILURE);
    });
}

// A file opened while a standard stream is closed would get its number, and the output meant for
// the stream. So closed streams are opened, but in a mode in which their use still fails.
void reserve_standard_streams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0) continue;
        const int opened = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        if (opened >= 0 && opened != stream) close(opened);
    }
}

}  // namespace

std::string printable(std::string_view text, bool lines) {
    std::string shown;
    for (size_t at = 0, bytes = 0; at < text.size(); at += bytes) {
        const size_t whole = utf8_bytes(text, at);
        bytes = whole > 0 ? whole : 1;
        const std::string_view character = text.substr(at, bytes);
        if ((whole > 0 && !is_control(character)) || (lines && character == "\n")) {
            shown += character;
            continue;
        }
        for (const char byte : character) {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned char>(byte));
            shown += code;
        }
    }
    return shown;
}

void warn(std::string_view message) {
    const std::string line = printable(message, true);
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, line.c_str());
}

void print(std::string_view text) {
    write_all(STDOUT_FILENO, text, "standard output");
}

void close_output() {
    if (close(STDOUT_FILENO) != 0 && errno != EBADF) throw cannot("write to", "standard output");
}

int run_program(int (*body)(int argc, char **argv), int argc, char **argv) {
    const auto fail = [](const std::string &message) {
        hold_signals();  // a signal that is being obeyed comes first
        warn(message);
        return 1;
    };
    reserve_standard_streams();
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);  // the write fails
    try {
        try {
            return body(argc, argv);
        } catch (const std::bad_alloc &) {
            throw;
        } catch (const std::exception &error) {
            return fail(text_of_error(error));
        }
    } catch (const std::bad_alloc &) {  // a message may have been too much as well
        hold_signals();
        say_not_enough_memory();
        return 1;
    }
}

}  // namespace tts_tools
