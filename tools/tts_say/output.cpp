#include "output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

namespace fs = std::filesystem;

namespace {

int real_standard_output = -1;  // a duplicate, negative when standard output was closed

}  // namespace

failure system_failure(const std::string &what) {
    return failure(what + ": " + strerror(errno));
}

void take_standard_output(bool verbose) {
    real_standard_output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const file_ptr nowhere(fopen("/dev/null", "we"));
    if (!nowhere || dup2(verbose ? STDERR_FILENO : fileno(nowhere.get()), STDOUT_FILENO) < 0) {
        throw system_failure("/dev/null");
    }
    setvbuf(stdout, nullptr, _IOLBF, 0);  // in step with the log, which shares the descriptor
}

void show(const std::string &text, bool on_standard_error) {
    const file_ptr out(fdopen(dup(on_standard_error ? STDERR_FILENO : real_standard_output), "w"));
    if (out && fputs(text.c_str(), out.get()) >= 0 && fflush(out.get()) == 0) return;
    throw system_failure(on_standard_error ? "standard error" : "standard output");
}

// By all of these names it is the one that was taken away, not the one at descriptor 1.
bool is_standard_output(const std::string &path) {
    static const std::set<std::string> names = {"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"};
    return names.count(path) != 0;
}

bool is_stream(const std::string &path) {
    if (is_standard_output(path)) return true;
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return false;
    return !S_ISREG(status.st_mode);  // a directory fails when it is opened
}

sink::sink(const std::string &path) : path_(is_standard_output(path) ? "standard output" : path) {
    if (is_standard_output(path)) {
        file_.reset(fdopen(dup(real_standard_output), "w"));
    } else if (is_stream(path)) {
        file_.reset(fopen(path.c_str(), "we"));
    } else {
        const bool replaces = fs::exists(path);
        if (replaces && access(path.c_str(), W_OK) != 0) throw system_failure(path);
        target_ = replaces ? fs::canonical(path).string() : path;
        // Beside the target, so that renaming is one step.
        const fs::path name = ".tts-say-" + std::to_string(getpid());
        temporary_ = fs::path(target_).parent_path() / name;
        file_.reset(fopen(temporary_.c_str(), "wbxe"));
    }
    if (!file_) throw system_failure(path_);
}

void sink::write(std::string_view bytes) {
    if (fwrite(bytes.data(), 1, bytes.size(), file_.get()) == bytes.size()) return;
    throw system_failure(path_);
}

void sink::finish() {
    if (fclose(file_.release()) != 0) throw system_failure(path_);
    if (temporary_.empty()) return;
    if (rename(temporary_.c_str(), target_.c_str()) != 0) throw system_failure(path_);
    temporary_.clear();
}

sink::~sink() {
    if (!temporary_.empty()) unlink(temporary_.c_str());
}
