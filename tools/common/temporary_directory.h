// Directories for unfinished work, which are removed however the work ends.
#ifndef TTS_COMMON_TEMPORARY_DIRECTORY_H
#define TTS_COMMON_TEMPORARY_DIRECTORY_H

#include <filesystem>
#include <mutex>

namespace tts_tools {

// A new directory, named PREFIX plus six random letters, for this user only. It is removed
// with all it holds by the destructor, and by SIGINT, SIGTERM and SIGHUP, which end the process
// from then on with one line on standard error. It is locked as long as its process runs.
class temporary_directory {
  public:
    explicit temporary_directory(const std::filesystem::path &prefix);
    ~temporary_directory();
    temporary_directory(const temporary_directory &) = delete;
    temporary_directory &operator=(const temporary_directory &) = delete;

    const std::filesystem::path &path() const { return path_; }

    // From now on the directory is not removed.
    void keep();

  private:
    std::filesystem::path path_;
    int lock_;
};

// While the lock is held, no signal ends the process: for changes in two steps that must not be
// left half done. Code that ends the process takes it as well, so that a pending signal comes
// first.
std::unique_lock<std::mutex> hold_signals();

// Removes the directories with this prefix whose processes were killed. Those for which `is_needed`
// is true stay, with a warning on standard error.
void clear_leftovers(const std::filesystem::path &prefix,
                     bool (*is_needed)(const std::filesystem::path &) = nullptr);

}  // namespace tts_tools

#endif
