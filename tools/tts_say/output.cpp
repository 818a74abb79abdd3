#include "output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <set>
#include <utility>

#include "common/files.h"
#include "common/messages.h"

using namespace tts_tools;

namespace {

int real_standard_output = -1;  // a duplicate, negative when standard output was closed

}  // namespace

void take_standard_output(bool verbose) {
    real_standard_output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const file_descriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (nowhere.get() < 0 || dup2(verbose ? STDERR_FILENO : nowhere.get(), STDOUT_FILENO) < 0) {
        throw cannot("open", "/dev/null");
    }
    setvbuf(stdout, nullptr, _IOLBF, 0);  // in step with the log, which shares the descriptor
}

void show(const std::string &text, bool on_standard_error) {
    if (on_standard_error) {
        write_all(STDERR_FILENO, text, "standard error");
    } else {
        write_all(real_standard_output, text, name_of_output("-"));
    }
}

void close_standard_output() {
    if (real_standard_output >= 0) {
        close_written(std::exchange(real_standard_output, -1), name_of_output("-"));
    }
}

// All of these names mean the real standard output, not what descriptor 1 is now.
bool is_standard_output(const std::string &path) {
    static const std::set<std::string> names = {"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"};
    return names.count(path) != 0;
}

bool takes_all_lines(const std::string &path) {
    return is_standard_output(path) || is_stream(path);
}

std::string name_of_output(const std::string &path) {
    return is_standard_output(path) ? "standard output" : path;
}

sink::sink(const std::string &path)
    : name_(name_of_output(path)),
      file_(is_standard_output(path) ? fcntl(real_standard_output, F_DUPFD_CLOEXEC, 0)
                                     : open_stream(path)) {
    if (file_.get() < 0) throw cannot("open", name_);
}

void sink::write(std::string_view bytes) {
    write_all(file_.get(), bytes, name_);
}

void sink::finish() {
    close_written(file_.release(), name_);
}
