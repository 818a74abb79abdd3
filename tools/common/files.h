// Reading and writing whole files, with the path and the reason in every message.
#ifndef TTS_TOOLS_FILES_H
#define TTS_TOOLS_FILES_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/failure.h"

namespace tts_tools {

// A regular file of at most 2 GiB, the most that the engine takes. Throws `failure` for anything
// else: a pipe or a device in a tree could go on for ever.
std::string read_file(const std::filesystem::path &path);

constexpr size_t kMostInputBytes = size_t{1} << 28;  // of a text that the user hands over

// A file named on the command line, or all of a pipe or a device, of at most kMostInputBytes.
std::string read_argument(const std::filesystem::path &path);

// What an open descriptor delivers until its end, at most `most_bytes`; `name` is for messages.
std::string read_all(int descriptor, const std::string &name, size_t most_bytes);

// Writes all of `bytes` to an open descriptor; `name` is for messages.
void write_all(int descriptor, std::string_view bytes, const std::string &name);

// Closes it: on some file systems only this reports that the bytes did not arrive.
void close_written(int descriptor, const std::string &name);

void write_file(const std::filesystem::path &path, std::string_view bytes);
void make_directory(const std::filesystem::path &path);

// Waits until a file or directory with all that it holds at its own level is on the disk.
void flush_to_disk(const std::filesystem::path &path);

// Whether `path` is a device, a pipe, or a name such as /dev/stdout for what is open already.
bool is_stream(const std::filesystem::path &path);

// Opens a stream for writing; what is open already, as /dev/stdout, goes on where it is.
int open_stream(const std::filesystem::path &path);

// Writes a file that appears, or takes the place of an older one with its permissions, when it is
// complete and on the disk. A link stays: what it leads to is replaced. A stream is written to.
void replace_file(const std::filesystem::path &path, std::string_view bytes);

// Removes what killed runs of replace_file() left beside `path`.
void clear_leftovers_beside(const std::filesystem::path &path);

}  // namespace tts_tools

#endif
