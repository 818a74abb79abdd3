// The directory a voice is built into, and the rule that no file of the user's is ever deleted.
#ifndef TTS_VOICE_TREE_H
#define TTS_VOICE_TREE_H

#include <filesystem>
#include <memory>
#include <string>

#include "files.h"

namespace tts_voice {

// A tree is made in a directory beside its target and renamed when it is complete, so that nobody
// ever sees half of it. The target may be missing, empty, or a tree that seal() wrote and that
// nobody changed since: anything else is refused, at the start and again before it is replaced.
class staged_tree {
  public:
    explicit staged_tree(const std::filesystem::path &target);

    const std::filesystem::path &root() const { return root_; }

    // Adds the file that lets a later build recognise the tree: `origin` and a digest of all files.
    void seal(const std::string &origin);
    void publish();

  private:
    std::filesystem::path target_;
    std::unique_ptr<temporary_directory> workshop_;
    std::filesystem::path root_;
};

}  // namespace tts_voice

#endif
