// Reads a recording, judges it, and makes it a clip that the engine can join with others.
#ifndef TTS_VOICE_RECORDINGS_IMPORT_CLIP_H
#define TTS_VOICE_RECORDINGS_IMPORT_CLIP_H

#include <filesystem>
#include <map>
#include <string>

#include "sound/samples.h"

namespace tts_voice {

struct recorded_sound {
    samples sound;  // mono
    int rate_hz = 0;
    bool clipped = false;  // the recorder's level was too high
    bool cut_off = false;  // the file holds less sound than its header says
};

// Reads any sound file that libsndfile knows, of one or two channels and at most 60 seconds.
// Throws `failure` with the reason; the message does not name the file.
recorded_sound read_recording(const std::filesystem::path &path);

// What a clip has to be like, which follows from its name.
struct clip_form {
    // How much background stays around the sound; before a consonant it is the closure.
    double before_ms, after_ms;
    double least_ms, most_ms;  // length of the finished clip
    int tone;                  // of a single syllable, 5 is neutral; 0 for anything longer
};

// `file` is relative to the tree: "pinyinRaw/hao3_2", "engRaw/hello.raw".
clip_form form_of(const std::string &file);

class clip_importer {
  public:
    // Resampled, high-passed, trimmed, levelled and faded. Throws `failure` for what is silent, too
    // short or too long; the message does not name the file.
    samples make(const recorded_sound &recorded, const clip_form &form);

  private:
    std::map<int, resampler> resamplers_;  // by the recordings' rate
};

}  // namespace tts_voice

#endif
