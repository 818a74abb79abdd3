// What tts-say writes: files that are whole or not there, and streams.
#ifndef TTS_SAY_OUTPUT_H
#define TTS_SAY_OUTPUT_H

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

// Ends the program with this message: what failed, where, which path.
struct failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A message with the reason that errno tells.
failure system_failure(const std::string &what);

struct file_closer {
    void operator()(FILE *file) const { fclose(file); }
};
using file_ptr = std::unique_ptr<FILE, file_closer>;

// Takes standard output away from everybody else in the process, who then writes to standard error
// (`verbose`) or nowhere. The sinks below and show() still reach the real one.
void take_standard_output(bool verbose);

// Writes to the real standard output, or to standard error. Throws failure.
void show(const std::string &text, bool on_standard_error = false);

bool is_standard_output(const std::string &path);

// Whether all lines go to `path` one behind the other: standard output, a device, a pipe.
bool is_stream(const std::string &path);

// A destination of sound. A regular file appears when it is finished; one that is not leaves
// nothing.
class sink {
  public:
    explicit sink(const std::string &path);
    ~sink();
    sink(const sink &) = delete;
    sink &operator=(const sink &) = delete;
    void write(std::string_view bytes);
    void finish();

  private:
    std::string path_;
    std::string target_;     // the file that is replaced: behind symbolic links
    std::string temporary_;  // empty when there is nothing to rename or to remove
    file_ptr file_;
};

#endif
