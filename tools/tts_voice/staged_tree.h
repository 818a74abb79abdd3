// The directory a voice is built into, and the rule that no file of the user's is ever deleted.
#ifndef TTS_VOICE_STAGED_TREE_H
#define TTS_VOICE_STAGED_TREE_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "common/files.h"
#include "common/temporary_directory.h"

namespace tts_voice {

// A tree is made in a directory beside its target. When it is complete and on the disk, the two
// change places in one step, so that whoever looks, and whatever ends the process or the machine,
// finds the old tree or the new one. The target may be missing, empty, or a tree that seal() wrote
// and that nobody changed since: anything else is refused, at the start and again with what was
// there when the two changed places, which then change back.
class staged_tree {
  public:
    explicit staged_tree(const std::filesystem::path &target);

    const std::filesystem::path &root() const { return root_; }

    // Writes a clip, "pinyinRaw" and "hao3". Throws `failure` for a name that would lead elsewhere.
    void write_clip(const std::string &file, std::string_view bytes) const;

    // Adds the file that lets a later build recognise the tree: `origin` and a digest of all files.
    void seal(const std::string &origin);
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
