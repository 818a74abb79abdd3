// What tts-say writes: standard output, which it takes from the engine, and streams.
#ifndef TTS_SAY_OUTPUT_H
#define TTS_SAY_OUTPUT_H

#include <string>
#include <string_view>

#include "file_descriptor.h"

// Takes standard output away from everybody else in the process, who then writes to standard error
// (`verbose`) or nowhere. The functions below still reach the real one.
void take_standard_output(bool verbose);

// Writes to the real standard output, or to standard error. Throws failure.
void show(const std::string &text, bool on_standard_error = false);

// Ends what was written to the real standard output. Throws failure.
void close_standard_output();

bool is_standard_output(const std::string &path);

// Whether all lines go to `path` one after the other: standard output, a device, a pipe.
bool takes_all_lines(const std::string &path);

// "standard output" or the path, for messages.
std::string name_of_output(const std::string &path);

// An open stream. Throws failure.
class sink {
  public:
    explicit sink(const std::string &path);
    void write(std::string_view bytes);
    void finish();

  private:
    std::string name_;
    file_descriptor file_;
};

#endif
