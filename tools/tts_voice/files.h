// Files, directories and signals: everything that can fail outside the program, with the path and
// the reason in the message.
#ifndef TTS_VOICE_FILES_H
#define TTS_VOICE_FILES_H

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tts_voice {

// What ends a command: the text is for the user, complete, without a final newline.
struct failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// "cannot write PATH: No space left on device", the reason taken from errno.
failure cannot(const char *verb, const std::filesystem::path &path);

// Thrown by stop_if_interrupted(), so that destructors clean up before the signal is obeyed.
struct interruption {
    int signal;
};

std::string read_file(const std::filesystem::path &path);
void write_file(const std::filesystem::path &path, std::string_view bytes);
void make_directory(const std::filesystem::path &path);

// A directory of its own, named PREFIX plus six random letters; removed with all it holds.
class temporary_directory {
  public:
    explicit temporary_directory(const std::filesystem::path &prefix);
    ~temporary_directory();
    temporary_directory(const temporary_directory &) = delete;
    temporary_directory &operator=(const temporary_directory &) = delete;

    const std::filesystem::path &path() const { return path_; }

  private:
    std::filesystem::path path_;
};

// Writes a file that appears, or takes the place of an older one with its permissions, when it is
// complete. A link stays: what it leads to is replaced. A stream is written to.
void replace_file(const std::filesystem::path &path, std::string_view bytes);

// Whether `path` is a device, a pipe, or a name such as /dev/stdout for what is open already.
bool is_stream(const std::filesystem::path &path);

void catch_interruptions();  // SIGINT, SIGTERM and SIGHUP only set a flag from now on
void stop_if_interrupted();

}  // namespace tts_voice

#endif
