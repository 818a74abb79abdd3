#include "common/files.h"

#include <sys/stat.h>

#include <charconv>
#include <climits>

#include "common/temporary_directory.h"
#include "file_descriptor.h"

namespace fs = std::filesystem;

namespace tts_tools {

namespace {

constexpr char kUnfinished[] = ".tts-unfinished-";  // directories beside a file that is written

void write_and_close(int opened, std::string_view bytes, const std::string &name) {
    file_descriptor file(opened);
    write_all(file.get(), bytes, name);
    close_written(file.release(), name);
}

}  // namespace

std::string read_argument(const fs::path &path) {
    const file_descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (file.get() < 0) throw cannot("open", path);
    return read_all(file.get(), path, kMostInputBytes);
}

std::string read_file(const fs::path &path) {
    const file_descriptor file(path.c_str());
    if (file.get() < 0) throw cannot("open", path);
    if (file.regular_size(INT_MAX) < 0) {
        if (errno == EINVAL) throw failure("cannot read " + path.string() + ": not a regular file");
        throw cannot("read", path);
    }
    return read_all(file.get(), path.string(), INT_MAX);
}

std::string read_all(int descriptor, const std::string &name, size_t most_bytes) {
    std::string bytes;
    char part[1 << 16];
    for (;;) {
        const ssize_t got = read(descriptor, part, sizeof part);
        if (got == 0) return bytes;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw cannot("read", name);
        bytes.append(part, static_cast<size_t>(got));
        if (bytes.size() > most_bytes) {
            throw failure("cannot read " + name + ": more than " +
                          std::to_string(most_bytes >> 20U) + " MiB");
        }
    }
}

void write_all(int descriptor, std::string_view bytes, const std::string &name) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) throw cannot("write to", name);
        bytes.remove_prefix(static_cast<size_t>(written));
    }
}

void close_written(int descriptor, const std::string &name) {
    // After EINTR the descriptor is closed as well.
    if (close(descriptor) != 0 && errno != EINTR) throw cannot("write to", name);
}

void write_file(const fs::path &path, std::string_view bytes) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY, 0666);
    if (file < 0) throw cannot("create", path);
    write_and_close(file, bytes, path);
}

void make_directory(const fs::path &path) {
    if (mkdir(path.c_str(), 0777) != 0) throw cannot("create directory", path);
}

void flush_to_disk(const fs::path &path) {
    const file_descriptor file(path.c_str());
    // A file system that does not support this returns EINVAL, which is not an error here.
    if (file.get() < 0 || (fsync(file.get()) != 0 && errno != EINVAL)) throw cannot("write", path);
}

bool is_stream(const fs::path &path) {
    for (const char *open_file : {"/dev/std", "/dev/fd/", "/proc/"}) {
        if (path.string().rfind(open_file, 0) == 0) return true;
    }
    std::error_code error;
    return fs::exists(path, error) && !fs::is_regular_file(path, error);
}

int open_stream(const fs::path &path) {
    const std::string name = path;
    int number = name == "/dev/stdout" ? STDOUT_FILENO : name == "/dev/stderr" ? STDERR_FILENO : -1;
    for (const std::string directory : {"/dev/fd/", "/proc/self/fd/"}) {
        if (name.rfind(directory, 0) != 0) continue;
        const char *const end = name.data() + name.size();
        if (std::from_chars(name.data() + directory.size(), end, number).ptr != end) number = -1;
    }
    const int stream = number >= 0 ? fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                                   : open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (stream < 0) throw cannot("open", path);
    return stream;
}

void replace_file(const fs::path &path, std::string_view bytes) {
    std::error_code error;
    struct stat old = {};
    const bool exists = stat(path.c_str(), &old) == 0;
    if (is_stream(path)) return write_and_close(open_stream(path), bytes, path);
    if (!exists && fs::is_symlink(path, error)) return write_file(path, bytes);
    if (exists && access(path.c_str(), W_OK) != 0) throw cannot("write", path);
    const fs::path target = exists ? fs::canonical(path) : path;
    const temporary_directory workshop(target.parent_path() / kUnfinished);
    const fs::path made = workshop.path() / "new";
    write_file(made, bytes);
    if (exists) {
        // Only root can give a file away; for others the old owner's file becomes theirs.
        [[maybe_unused]] const int given = chown(made.c_str(), old.st_uid, old.st_gid);
        if (chmod(made.c_str(), old.st_mode & 07777) != 0) throw cannot("write", path);
    }
    flush_to_disk(made);
    if (rename(made.c_str(), target.c_str()) != 0) throw cannot("write", path);
}

void clear_leftovers_beside(const fs::path &path) {
    std::error_code error;
    const fs::path target = fs::exists(path, error) ? fs::canonical(path) : path;
    clear_leftovers(target.parent_path() / kUnfinished);
}

}  // namespace tts_tools
