// Checks a resource tree: reads it as the engine does, and reports missing and malformed files,
// entries without effect, and clips that sound bad.
#ifndef TTS_VOICE_CHECK_CHECK_H
#define TTS_VOICE_CHECK_CHECK_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "sound/measure.h"

namespace tts_voice {

// With an error, speech is lost or wrong, or the engine does not start. A warning is poor sound, or
// data that nothing uses.
enum class severity { warning, error };

struct finding {
    severity level;
    std::string code;    // stable, for programs: "phone-without-clip"
    std::string file;    // relative to the tree: "yinsu.txt", "pinyinRaw/hao3"
    int line = 0;        // from 1; 0: the whole file
    std::string what;    // what is wrong here
    std::string effect;  // what the engine or a listener makes of it; the same for a whole code
    std::string fix;     // how to put it right; the same for a whole code
};

struct check_result {
    std::vector<finding> findings;        // errors first, findings of one code side by side
    std::vector<measured_clip> measured;  // the clips used whose bytes are samples
    size_t clips = 0;                     // clip files that a lexicon or a list names
    size_t clip_bytes = 0;
    size_t lexicon_bytes = 0;   // memory that the loaded lexicons take, about
    size_t greeting_bytes = 0;  // memory of the greetings' clips, which stay loaded

    size_t count(severity level) const;
};

// Checks the tree below `root`. Throws `failure` when `root` is not a readable directory; all that
// is wrong below it becomes findings.
check_result check_tree(const std::filesystem::path &root);

// Throws `failure` with the first errors of a tree, which the message calls `name`.
void require_no_errors(const std::filesystem::path &root, const std::string &name);

// "pinyin_dict.txt:12: what", the line only where there is one.
std::string text_of(const finding &f);

}  // namespace tts_voice

#endif
