#include "common/temporary_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include "common/files.h"
#include "common/messages.h"
#include "file_descriptor.h"

namespace fs = std::filesystem;

namespace tts_tools {

namespace {

// A file in every directory made here. A directory without it is not ours, whatever its name.
constexpr char kMarker[] = ".unfinished-work-of-tts-tools";

std::mutex work;  // held while the list below changes, and by hold_signals()

// Never destroyed: a signal may come while the process ends.
std::vector<fs::path> &unfinished() {
    static auto *const paths = new std::vector<fs::path>;
    return *paths;
}

// The marker is removed last, so that what a kill leaves is still known as ours. The main thread
// may add files until its directories are removed, so this tries again. If memory runs out, the
// directory stays for the next run to remove.
void remove_all_of(const fs::path &path) noexcept {
    std::error_code error;
    try {
        for (int tries = 0; tries < 20 && fs::exists(fs::symlink_status(path, error)); ++tries) {
            for (fs::directory_iterator entry(path, error), end; !error && entry != end;
                 entry.increment(error)) {
                if (entry->path() != path / kMarker) fs::remove_all(entry->path(), error);
            }
            // Only when nothing but the marker is left.
            if (std::distance(fs::directory_iterator(path, error), {}) <= 1) {
                fs::remove_all(path, error);
            }
        }
    } catch (const std::bad_alloc &) {
        return;
    }
}

// Prints nothing where it would have to wait: the main thread may have filled a pipe.
void say_interrupted() {
    pollfd error_stream = {STDERR_FILENO, POLLOUT, 0};
    if (poll(&error_stream, 1, 0) != 1) return;
    const char *const clear_line = isatty(STDERR_FILENO) != 0 ? "\r\033[K" : "";  // a progress bar
    dprintf(STDERR_FILENO, "%s%s: interrupted\n", clear_line, program_invocation_short_name);
}

sigset_t ending_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        // One that nohup or a shell had ignored stays so.
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&signals, signal);
        }
    }
    return signals;
}

// Waits for a signal in a separate thread, where files can be removed whatever the main thread is
// doing, and ends the process by that signal, so that the parent process sees it.
void *obey_signals(void *) {
    const sigset_t signals = ending_signals();
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
    work.lock();
    for (const fs::path &path : unfinished()) remove_all_of(path);
    say_interrupted();
    std::signal(signal, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    std::raise(signal);
    return nullptr;
}

// Without the thread, signals do what they do in any program, and the next run clears up.
bool start_obeying() {
    constexpr size_t kStackBytes = size_t{1} << 18;
    const sigset_t signals = ending_signals();
    sigset_t before;
    pthread_attr_t attributes;
    pthread_t thread = 0;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kStackBytes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_sigmask(SIG_BLOCK, &signals, &before);
    const bool started = pthread_create(&thread, &attributes, obey_signals, nullptr) == 0;
    if (!started) pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    return started;
}

// Locks a directory of this user. Returns its descriptor, or -1 when another process has the lock
// or it is not such a directory.
int lock(const fs::path &path) {
    const int directory = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status = {};
    if (directory >= 0 && fstat(directory, &status) == 0 && status.st_uid == geteuid() &&
        (status.st_mode & 0777) == 0700 && flock(directory, LOCK_EX | LOCK_NB) == 0) {
        return directory;
    }
    const int reason = errno;
    if (directory >= 0) close(directory);
    errno = reason;
    return -1;
}

}  // namespace

temporary_directory::temporary_directory(const fs::path &prefix) : lock_(-1) {
    static const bool obeying = start_obeying();
    static_cast<void>(obeying);
    const auto held = hold_signals();
    // Before it is locked, another run may take it for a leftover and remove it: then a new one.
    for (bool taken = true; taken;) {
        std::string name = prefix.string() + "XXXXXX";
        if (!mkdtemp(name.data())) throw cannot("create a directory like", name);
        path_ = name;
        if (lock_ >= 0) close(lock_);
        lock_ = lock(path_);
        taken = (lock_ < 0 && errno == EWOULDBLOCK) || access(name.c_str(), F_OK) != 0;
    }
    unfinished().push_back(path_);
    try {
        write_file(path_ / kMarker, "");
    } catch (...) {
        unfinished().pop_back();
        remove_all_of(path_);
        if (lock_ >= 0) close(lock_);
        throw;
    }
}

temporary_directory::~temporary_directory() {
    {
        const auto held = hold_signals();
        const auto entry = std::find(unfinished().begin(), unfinished().end(), path_);
        if (entry != unfinished().end()) {
            remove_all_of(path_);
            unfinished().erase(entry);
        }
    }
    if (lock_ >= 0) close(lock_);
}

void temporary_directory::keep() {
    unfinished().erase(std::remove(unfinished().begin(), unfinished().end(), path_),
                       unfinished().end());
}

std::unique_lock<std::mutex> hold_signals() {
    return std::unique_lock(work);
}

void clear_leftovers(const fs::path &prefix, bool (*is_needed)(const fs::path &)) {
    constexpr size_t kRandomLetters = 6;
    const std::string name = prefix.filename().string();
    const fs::path parent = prefix.has_parent_path() ? prefix.parent_path() : ".";
    std::error_code error;
    std::vector<fs::path> found;
    for (fs::directory_iterator entry(parent, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string other = entry->path().filename().string();
        if (other.size() == name.size() + kRandomLetters && other.rfind(name, 0) == 0) {
            found.push_back(parent / other);
        }
    }
    for (const fs::path &path : found) {
        const file_descriptor locked(lock(path));
        if (locked.get() < 0) continue;
        if (is_needed != nullptr && is_needed(path)) {
            warn(path.string() +
                 " is left of a run that was killed and holds a voice; move it away or delete it");
        } else if (fs::exists(path / kMarker, error)) {
            remove_all_of(path);
            if (fs::exists(path, error))
                warn("cannot remove " + path.string() + " of a killed run");
        } else {
            // Left before it was marked. If it is not ours, it is not empty and stays.
            rmdir(path.c_str());
        }
    }
}

}  // namespace tts_tools
