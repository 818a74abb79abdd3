// What a person records for a voice, the most useful recordings first.
#ifndef TTS_VOICE_RECORDINGS_SCRIPT_H
#define TTS_VOICE_RECORDINGS_SCRIPT_H

#include <filesystem>
#include <string>
#include <vector>

#include "recordings/voice_texts.h"

namespace tts_voice {

// A character of running text.
struct text_character {
    std::string character;
    std::string reading;  // of the lexicon; empty: it has none
    double share = 0;     // of all characters of running text, 0..1
};

// The characters of `counts`, a list "CHARACTER COUNT", the commonest first. Throws `failure` when
// nothing is counted in it.
std::vector<text_character> text_characters(const voice_texts &texts,
                                            const std::filesystem::path &counts);

// The kinds of recordings, in the order to make them.
enum class script_part {
    inside,  // a syllable inside a sentence, which can speak for the other places too
    greeting,
    double_syllable,
    letter,
    word,
    phrase,
    pair,
    rare,
    last,
    first
};

struct recording {
    script_part part;
    std::string folder;   // "phones", "english" or "greetings", below the directory of recordings
    std::string name;     // of the file, without extension
    std::string clip;     // the file it becomes in the tree
    std::string say;      // what to say
    std::string example;  // where it is said
    double share = 0;     // of the characters of running text that it speaks, 0..1
};

// All recordings that a voice can have, in the order to make them. `counts` is as above. A third
// tone before another third tone is spoken in the second: that part of its share goes to the
// syllable in the second tone.
std::vector<recording> recordings_of(const voice_texts &texts, const std::filesystem::path &counts);

}  // namespace tts_voice

#endif
