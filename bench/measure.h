// What the benchmark programs share: clocks, minima, whole files read by bare system calls.
#ifndef BENCH_MEASURE_H
#define BENCH_MEASURE_H

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

[[noreturn]] inline void fail(const std::string &why) {
    fprintf(stderr, "%s\n", why.c_str());
    exit(1);
}

inline double now_ms() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(since).count();
}

// Processor time of this thread: the turns of other processes do not count.
inline double processor_ms() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

struct spread {
    double least, median;
};

inline spread spread_of(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return {times.front(), times[times.size() / 2]};
}

// Reads a whole file to `to`, which has `capacity` bytes left; returns the bytes read. Nothing but
// the three system calls that no reader can do without.
inline size_t read_bare(const std::string &path, char *to, size_t capacity) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t got = fd < 0 ? -1 : read(fd, to, capacity);
    if (got < 0) fail(path + ": cannot be read");
    close(fd);
    return static_cast<size_t>(got);
}

inline std::string content_of(const std::string &path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) fail(path + ": cannot be read");
    std::string content(static_cast<size_t>(status.st_size), '\0');
    content.resize(read_bare(path, content.data(), content.size()));
    return content;
}

#endif
