// An open file that closes itself.
#ifndef TTS_FILE_DESCRIPTOR_H
#define TTS_FILE_DESCRIPTOR_H

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

class file_descriptor {
  public:
    // Opens for reading. O_NONBLOCK: a named pipe in the tree must not stop the device; it changes
    // nothing for files.
    explicit file_descriptor(const char *path)
        : fd_(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    file_descriptor(const file_descriptor &) = delete;
    file_descriptor &operator=(const file_descriptor &) = delete;
    ~file_descriptor() {
        if (fd_ >= 0) close(fd_);
    }
    int get() const { return fd_; }

    // What read() does, but a signal does not end it.
    ssize_t read_some(char *to, size_t size) const {
        ssize_t n = 0;
        do {
            n = read(fd_, to, size);
        } while (n < 0 && errno == EINTR);
        return n;
    }

  private:
    int fd_;
};

#endif
