// What a voice is made of: every clip with the text to speak for it, and the text files of the
// tree.
#ifndef TTS_VOICE_PLAN_PLAN_H
#define TTS_VOICE_PLAN_PLAN_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tts_voice {

enum class language { mandarin, english };

// Where in an utterance a clip is used. Mandarin is cut from a short carrier phrase, so that
// a clip has the melody and the length of its place.
enum class position { initial, medial, final, alone };

struct clip_job {
    std::string file;  // relative to the tree
    language spoken;
    position place;
    std::string text;  // without the carrier
    size_t words;      // number of words in `text`; not used for English and for `alone`
    int tone;          // of a single syllable, 5 is neutral; 0 for anything longer
};

struct silence {
    std::string file;  // relative to the tree
    double length_ms;
};

struct voice_plan {
    std::vector<clip_job> clips;  // in the order to speak them
    std::vector<silence> silences;
    std::map<std::string, std::string> texts;  // file in the tree -> content
};

// Reads the lists in `data`. Throws `failure` with file and line for a row that cannot be
// spoken.
voice_plan make_plan(const std::filesystem::path &data);

}  // namespace tts_voice

#endif
