#include "files.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace fs = std::filesystem;

namespace tts_voice {

namespace {

struct file_closer {
    void operator()(FILE *f) const { fclose(f); }
};
using file_ptr = std::unique_ptr<FILE, file_closer>;

volatile std::sig_atomic_t caught_signal = 0;

void remember_signal(int signal) {
    caught_signal = signal;
}

}  // namespace

failure cannot(const char *verb, const fs::path &path) {
    return failure(std::string("cannot ") + verb + " " + path.string() + ": " +
                   std::strerror(errno));
}

std::string read_file(const fs::path &path) {
    file_ptr file(std::fopen(path.c_str(), "rb"));
    if (!file) throw cannot("open", path);
    std::string bytes;
    char buffer[1 << 16];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) bytes.append(buffer, got);
    if (std::ferror(file.get())) throw cannot("read", path);
    return bytes;
}

void write_file(const fs::path &path, std::string_view bytes) {
    file_ptr file(std::fopen(path.c_str(), "wb"));
    if (!file) throw cannot("create", path);
    bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    // A full disk may show only when the buffer is flushed, so the close counts too.
    written = std::fclose(file.release()) == 0 && written;
    if (!written) throw cannot("write", path);
}

void make_directory(const fs::path &path) {
    std::error_code error;
    fs::create_directory(path, error);
    if (error) throw failure("cannot create directory " + path.string() + ": " + error.message());
}

temporary_directory::temporary_directory(const fs::path &prefix) {
    std::string name = prefix.string() + "XXXXXX";
    if (!mkdtemp(name.data())) throw cannot("create a directory like", name);
    path_ = name;
}

temporary_directory::~temporary_directory() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

bool is_stream(const fs::path &path) {
    for (const char *open_file : {"/dev/std", "/dev/fd/", "/proc/"}) {
        if (path.string().rfind(open_file, 0) == 0) return true;
    }
    std::error_code error;
    return fs::exists(path, error) && !fs::is_regular_file(path, error);
}

void replace_file(const fs::path &path, std::string_view bytes) {
    std::error_code error;
    const bool exists = fs::exists(path, error);
    if (is_stream(path) || (!exists && fs::is_symlink(path, error))) {
        return write_file(path, bytes);
    }
    if (exists && access(path.c_str(), W_OK) != 0) throw cannot("write", path);
    const fs::path target = exists ? fs::canonical(path) : path;
    const temporary_directory workshop(target.string() + ".unfinished-");
    const fs::path made = workshop.path() / "new";
    write_file(made, bytes);
    if (exists) fs::permissions(made, fs::status(target).permissions());
    fs::rename(made, target);
}

void catch_interruptions() {
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (std::signal(signal, remember_signal) == SIG_IGN) std::signal(signal, SIG_IGN);
    }
}

void stop_if_interrupted() {
    if (caught_signal != 0) throw interruption{caught_signal};
}

}  // namespace tts_voice
