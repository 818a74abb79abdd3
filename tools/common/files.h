// Reading and writing whole files, with the path and the reason in every message.
#ifndef TTS_COMMON_FILES_H
#define TTS_COMMON_FILES_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/failure.h"

namespace tts_tools {

// Reads a regular file of at most 2 GiB, the engine's limit. Throws `failure` for anything else: a
// pipe or a device in a tree may have no end.
std::string read_file(const std::filesystem::path &path);

constexpr size_t kMostInputBytes = size_t{1} << 28;  // of a text for a command

// A file named on the command line, or all of a pipe or a device, of at most kMostInputBytes.
std::string read_argument(const std::filesystem::path &path);

// Reads an open descriptor to its end, at most `most_bytes`; `name` is for messages.
std::string read_all(int descriptor, const std::string &name, size_t most_bytes);

// Writes all of `bytes` to an open descriptor; `name` is for messages.
void write_all(int descriptor, std::string_view bytes, const std::string &name);

// Closes a descriptor: some file systems report only now that the bytes could not be written.
void close_written(int descriptor, const std::string &name);

void write_file(const std::filesystem::path &path, std::string_view bytes);
void make_directory(const std::filesystem::path &path);

// Waits until a file, or a directory with its entries, is on the disk.
void flush_to_disk(const std::filesystem::path &path);

// Whether `path` is a device, a pipe, or names an open descriptor, such as /dev/stdout.
bool is_stream(const std::filesystem::path &path);

// Opens a stream for writing. An open descriptor such as /dev/stdout is duplicated, so that writing
// continues at its position. The caller closes it.
int open_stream(const std::filesystem::path &path);

// Writes a file that appears, or replaces an older one and keeps its permissions, only when it is
// complete and on the disk. Of a symbolic link the target is replaced. A stream is written to.
void replace_file(const std::filesystem::path &path, std::string_view bytes);

// Removes what killed runs of replace_file() left beside `path`.
void clear_leftovers_beside(const std::filesystem::path &path);

}  // namespace tts_tools

#endif
