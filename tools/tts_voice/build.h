// Makes a complete voice: speaks every clip of the plan, tests it, and puts the tree in its place.
#ifndef TTS_VOICE_BUILD_H
#define TTS_VOICE_BUILD_H

#include <filesystem>

#include "synthesis/speaker.h"

namespace tts_voice {

struct build_options {
    std::filesystem::path target;
    std::filesystem::path data;
    timbre speaks = timbre::male;
    bool show_progress = false;
    bool show_figures = false;
};

void build_voice(const build_options &options);

}  // namespace tts_voice

#endif
