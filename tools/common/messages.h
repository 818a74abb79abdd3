// What a program says on standard output and standard error.
#ifndef TTS_TOOLS_MESSAGES_H
#define TTS_TOOLS_MESSAGES_H

#include <string>
#include <string_view>

namespace tts_tools {

// Text from a file as a terminal may have it: control characters, which could move the cursor or
// change colours, and bytes that are not UTF-8 become "\x1b". With `lines`, line feeds stay.
std::string printable(std::string_view text, bool lines = false);

// "PROGRAM: message" on standard error.
void warn(std::string_view message);

// Writes to standard output. Throws `failure`.
void print(std::string_view text);

// Ends what was written to standard output, which some file systems refuse only now. Throws
// `failure`. Whatever prints calls it when it is done.
void close_output();

// Runs a program: what `body` throws becomes a line on standard error, and 1. Signals that came in
// before are obeyed first.
int run_program(int (*body)(int argc, char **argv), int argc, char **argv);

}  // namespace tts_tools

#endif
