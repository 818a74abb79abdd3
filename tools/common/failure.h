// How a command ends that cannot do what it was asked for.
#ifndef TTS_TOOLS_FAILURE_H
#define TTS_TOOLS_FAILURE_H

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tts_tools {

// What ends a command: the text is for the user, complete, without a final newline.
struct failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// "cannot write PATH: No space left on device", the reason taken from errno.
inline failure cannot(const char *verb, const std::filesystem::path &path) {
    const char *const reason = std::strerror(errno);
    return failure(std::string("cannot ") + verb + " " + path.string() + ": " + reason);
}

// An error of the standard library as our own read: what of, and why.
inline std::string text_of_error(const std::exception &error) {
    const auto *const of_file = dynamic_cast<const std::filesystem::filesystem_error *>(&error);
    if (of_file == nullptr) return error.what();
    const auto &path = of_file->path2().empty() ? of_file->path1() : of_file->path2();
    return path.empty() ? error.what() : path.string() + ": " + of_file->code().message();
}

}  // namespace tts_tools

#endif
