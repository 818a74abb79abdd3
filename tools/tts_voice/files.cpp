#include "files.h"

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

failure cannot(const char *verb, const fs::path &path) {
    return failure(std::string("cannot ") + verb + " " + path.string() + ": " +
                   std::strerror(errno));
}

volatile std::sig_atomic_t caught_signal = 0;

void remember_signal(int signal) {
    caught_signal = signal;
}

}  // namespace

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

void replace_file(const fs::path &path, std::string_view bytes) {
    std::error_code error;
    fs::path target = fs::canonical(path, error);
    if (error) target = path;
    if (fs::exists(target, error) && !fs::is_regular_file(target, error)) {
        return write_file(path, bytes);
    }
    const temporary_directory workshop(target.string() + ".unfinished-");
    write_file(workshop.path() / "new", bytes);
    fs::rename(workshop.path() / "new", target, error);
    if (error) throw failure("cannot write " + path.string() + ": " + error.message());
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
