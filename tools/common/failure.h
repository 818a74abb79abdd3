// The exception with which a command fails.
#ifndef TTS_COMMON_FAILURE_H
#define TTS_COMMON_FAILURE_H

#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tts_tools {

// The text is a complete message for the user, without a final newline.
struct failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// "cannot write PATH: No space left on device", the reason taken from errno.
inline failure cannot(const char *verb, const std::filesystem::path &path) {
    const char *const reason = std::strerror(errno);
    return failure(std::string("cannot ") + verb + " " + path.string() + ": " + reason);
}

// An error of the standard library worded like our own: the path and the reason.
inline std::string text_of_error(const std::exception &error) {
    const auto *const of_file = dynamic_cast<const std::filesystem::filesystem_error *>(&error);
    if (of_file == nullptr) return error.what();
    const auto &path = of_file->path2().empty() ? of_file->path1() : of_file->path2();
    return path.empty() ? error.what() : path.string() + ": " + of_file->code().message();
}

}  // namespace tts_tools

#endif
