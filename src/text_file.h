// A text file read in one go and cut into lines.
#ifndef TTS_TEXT_FILE_H
#define TTS_TEXT_FILE_H

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <string>
#include <string_view>

#include "file_descriptor.h"
#include "tts_log.h"

class text_file {
  public:
    static constexpr int kMostBytes = INT_MAX;

    // Opens and reads a regular file of at most `most_bytes`; a directory counts as an empty one.
    // Anything else (a pipe, a device) is refused, which is logged with the reason. A read
    // error counts as the end of the file. Throws std::bad_alloc.
    explicit text_file(const std::string &path, int most_bytes = kMostBytes) : file_(path.c_str()) {
        const bool found = file_.get() >= 0;
        const int64_t size = found ? file_.regular_size(most_bytes) : -1;
        opened_ = found && (size >= 0 || errno == EISDIR);
        // A 32-bit system does not even open a file that is too large.
        if (found ? !opened_ : errno == EOVERFLOW) {
            TTS_ERROR("ERROR! open %s fail! error = %d\n", path.c_str(), errno);
        }
        if (size >= 0) read_all(static_cast<size_t>(size));
    }

    bool opened() const { return opened_; }
    bool refused() const { return file_.get() >= 0 && !opened_; }
    std::string &content() { return content_; }

    size_t line_count() const {
        return static_cast<size_t>(std::count(content_.begin(), content_.end(), '\n')) + 1;
    }

    // Calls `use` with every line, without its line feed; the last one needs none.
    template <typename Use>
    void for_each_line(Use use) const {
        const std::string_view text = content_;
        for (size_t start = 0; start < text.size();) {
            const size_t end = std::min(text.find('\n', start), text.size());
            use(text.substr(start, end - start));
            start = end + 1;
        }
    }

  private:
    // Up to the end of the file, which may have moved since its size was read.
    void read_all(size_t size) {
        // One byte more, so that the read that finds the end needs no second buffer.
        content_.resize(std::min(size + 1, size_t{kMostBytes}));
        size_t got = 0;
        for (;;) {
            const ssize_t n = file_.read_some(&content_[got], content_.size() - got);
            if (n <= 0) break;  // also when there is no room for more
            got += static_cast<size_t>(n);
            if (got == content_.size()) content_.resize(std::min(2 * got, size_t{kMostBytes}));
        }
        content_.resize(got);
    }

    file_descriptor file_;
    bool opened_ = false;
    std::string content_;
};

#endif
