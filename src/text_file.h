// A text file read in one go and cut into lines.
#ifndef TTS_TEXT_FILE_H
#define TTS_TEXT_FILE_H

#include <algorithm>
#include <string>
#include <string_view>

#include "file_descriptor.h"

class text_file {
  public:
    // A read error counts as the end of the file.
    explicit text_file(const std::string &path) : file_(path.c_str()) {
        struct stat status = {};
        if (!opened()) return;
        if (fstat(file_.get(), &status) != 0) status.st_size = 0;  // the size is but a hint
        // One byte more, so that the read that finds the end needs no second buffer.
        content_.resize(static_cast<size_t>(status.st_size) + 1);
        size_t got = 0;
        for (;;) {
            const ssize_t n = file_.read_some(&content_[got], content_.size() - got);
            if (n <= 0) break;
            got += static_cast<size_t>(n);
            if (got == content_.size()) content_.resize(2 * got);  // it grows under our eyes
        }
        content_.resize(got);
    }

    bool opened() const { return file_.get() >= 0; }
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
    file_descriptor file_;
    std::string content_;
};

#endif
