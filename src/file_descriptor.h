// An open file that closes itself.
#ifndef TTS_FILE_DESCRIPTOR_H
#define TTS_FILE_DESCRIPTOR_H

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <utility>

class file_descriptor {
  public:
    // Opens for reading. A named pipe in the tree must not stop the process (O_NONBLOCK), nor a
    // terminal become the one that controls it (O_NOCTTY); files are read as without these.
    explicit file_descriptor(const char *path)
        : fd_(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    explicit file_descriptor(int opened) : fd_(opened) {}  // takes over what open() returned
    file_descriptor(const file_descriptor &) = delete;
    file_descriptor &operator=(const file_descriptor &) = delete;
    ~file_descriptor() {
        if (fd_ >= 0) close(fd_);
    }
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }  // the caller closes it

    // The size of a regular file of at most `most` bytes. Whatever else was opened (a directory, a
    // pipe, a device) has no end that one could wait for: -1, with the reason in errno.
    int64_t regular_size(int64_t most) const {
        struct stat status = {};
        if (fstat(fd_, &status) != 0) return -1;
        if (!S_ISREG(status.st_mode)) {
            errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
            return -1;
        }
        if (status.st_size > most) {
            errno = EFBIG;
            return -1;
        }
        return status.st_size;
    }

    // What read() does, but a signal does not end it.
    ssize_t read_some(char *to, size_t size) const {
        return uninterrupted([&] { return read(fd_, to, size); });
    }

    // The same from a place in the file, which the reads above do not move.
    ssize_t read_at(off_t place, char *to, size_t size) const {
        return uninterrupted([&] { return pread(fd_, to, size, place); });
    }

  private:
    template <typename Call>
    static ssize_t uninterrupted(Call call) {
        ssize_t n = 0;
        do {
            n = call();
        } while (n < 0 && errno == EINTR);
        return n;
    }

    int fd_;
};

#endif
