// The directory a voice is built into. It replaces an older voice, but never deletes a user's file.
#ifndef TTS_VOICE_STAGED_TREE_H
#define TTS_VOICE_STAGED_TREE_H

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/temporary_directory.h"

namespace tts_voice {

// A tree is made in a directory beside its target. When it is complete and on the disk, the two are
// exchanged in one step, so that readers find the old tree or the new one at any time, even after
// the process or the machine was stopped. The target may be missing, empty, or a tree that seal()
// wrote and that is unchanged since. Anything else is refused with `failure`: at the start, and
// again after the exchange, which is then undone.
class staged_tree {
  public:
    explicit staged_tree(const std::filesystem::path &target);

    const std::filesystem::path &root() const { return root_; }

    // Writes a clip such as "pinyinRaw/hao3". Throws `failure` for a name that leads elsewhere.
    void write_clip(const std::string &file, std::string_view bytes) const;

    // Adds the file that lets a later build recognise the tree: `origin` and a digest of all files.
    void seal(const std::string &origin);
    // Puts the tree in the place of the target.
    void publish();

  private:
    std::vector<std::filesystem::path> change_places(const std::filesystem::path &swap);
    void remove_old(const std::filesystem::path &swap,
                    const std::vector<std::filesystem::path> &files);

    std::filesystem::path target_;
    std::unique_ptr<tts_tools::temporary_directory> workshop_;
    std::filesystem::path root_;
};

}  // namespace tts_voice

#endif
