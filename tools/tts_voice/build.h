// Makes a complete voice with espeak-ng: speaks every clip of the plan, tests the tones and the
// tree, and puts the tree in its place.
#ifndef TTS_VOICE_BUILD_H
#define TTS_VOICE_BUILD_H

#include <filesystem>

#include "synthesis/speaker.h"

namespace tts_voice {

struct build_options {
    std::filesystem::path target;  // of the tree; see staged_tree for what may be there already
    std::filesystem::path data;    // directory of the lists
    timbre speaker = timbre::male;
    bool show_progress = false;
    bool show_figures = false;  // of the tones
};

// Prints a summary on standard output. Throws `failure`, and then the target is as it was.
void build_voice(const build_options &options);

}  // namespace tts_voice

#endif
