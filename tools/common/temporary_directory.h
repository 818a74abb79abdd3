// Directories for work that is not finished, which nobody finds afterwards, however it ended.
#ifndef TTS_TOOLS_TEMPORARY_DIRECTORY_H
#define TTS_TOOLS_TEMPORARY_DIRECTORY_H

#include <filesystem>
#include <mutex>

#include "common/failure.h"

namespace tts_tools {

// A directory of its own, named PREFIX plus six random letters, for this user only. It is removed
// with all it holds by the destructor, and by SIGINT, SIGTERM and SIGHUP, which end the process
// from then on with one line on standard error. It is locked as long as its process runs.
class temporary_directory {
  public:
    explicit temporary_directory(const std::filesystem::path &prefix);
    ~temporary_directory();
    temporary_directory(const temporary_directory &) = delete;
    temporary_directory &operator=(const temporary_directory &) = delete;

    const std::filesystem::path &path() const { return path_; }

    // From now on the directory stays, whatever comes.
    void keep();

  private:
    std::filesystem::path path_;
    int lock_;
};

// As long as it is held, no signal ends the process: between the two steps of a change that must
// not be seen half done. Whoever ends the process takes it too, so that a signal is obeyed first.
std::unique_lock<std::mutex> hold_signals();

// Removes the directories with this prefix whose processes were killed. One of which `is_needed` is
// true stays, and standard error names it.
void clear_leftovers(const std::filesystem::path &prefix,
                     bool (*is_needed)(const std::filesystem::path &) = nullptr);

}  // namespace tts_tools

#endif
