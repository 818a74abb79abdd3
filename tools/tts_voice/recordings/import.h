// Makes a voice from a person's recordings.
#ifndef TTS_VOICE_RECORDINGS_IMPORT_H
#define TTS_VOICE_RECORDINGS_IMPORT_H

#include <filesystem>

namespace tts_voice {

struct import_options {
    std::filesystem::path recordings;
    std::filesystem::path target;
    std::filesystem::path data;  // lists, for the lexicons and for how often syllables are needed
    std::filesystem::path fill;  // a voice tree, for the lexicons and for what is not recorded;
                                 // empty: none
    bool show_progress = false;
};

// How files are named and placed, for the help of the command.
extern const char kImportNames[];

// Writes the whole voice or nothing. Throws a `failure` that names every recording that cannot be
// used.
void import_voice(const import_options &options);

}  // namespace tts_voice

#endif
