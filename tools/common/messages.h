// The output of a program on standard output and standard error.
#ifndef TTS_COMMON_MESSAGES_H
#define TTS_COMMON_MESSAGES_H

#include <string>
#include <string_view>

namespace tts_tools {

// Makes text from a file safe for a terminal: control characters, which could move the cursor or
// change colours, and bytes that are not UTF-8 are written as "\x1b". With `lines`, line feeds
// stay.
std::string printable(std::string_view text, bool lines = false);

// "PROGRAM: message" on standard error.
void warn(std::string_view message);

// Writes to standard output. Throws `failure`.
void print(std::string_view text);

// Closes standard output: some file systems report a failed write only now. Throws `failure`. Every
// program that prints calls it at its end.
void close_output();

// Runs a program and returns its exit status. An exception of `body` becomes a line on standard
// error and the status 1; a signal that arrived before ends the process first.
int run_program(int (*body)(int argc, char **argv), int argc, char **argv);

}  // namespace tts_tools

#endif
