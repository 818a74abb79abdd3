// The output of tts-say: standard output, kept apart from what the engine prints, and streams.
#ifndef TTS_SAY_OUTPUT_H
#define TTS_SAY_OUTPUT_H

#include <string>
#include <string_view>

#include "file_descriptor.h"

// Redirects descriptor 1 to standard error (`verbose`) or to /dev/null, so that what the engine or
// a library prints does not get into the sound. The functions below write to the real standard
// output.
void take_standard_output(bool verbose);

// Writes to the real standard output, or to standard error. Throws `failure`.
void show(const std::string &text, bool on_standard_error = false);

// Closes the real standard output. Throws `failure` when the bytes could not be written.
void close_standard_output();

bool is_standard_output(const std::string &path);

// Whether `path` takes all lines one after the other: standard output, a device, a pipe.
bool takes_all_lines(const std::string &path);

// "standard output" or the path, for messages.
std::string name_of_output(const std::string &path);

// An open stream. Throws `failure`.
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
