// Generates voice/pinyin_dict.txt, one everyday reading per character, from two public sources.
#ifndef TTS_VOICE_LEXICON_H
#define TTS_VOICE_LEXICON_H

#include <filesystem>
#include <string>

namespace tts_voice {

struct lexicon_sources {
    std::filesystem::path unihan_readings;  // Unihan_Readings.txt of the Unicode database
    std::filesystem::path pinyin_weights;   // pinyin_simp.dict.yaml: how common a reading is
    std::filesystem::path overrides;        // our own corrections, "CHARACTER READING" a line
};

// The whole file, "CHARACTER=READING" a line in code point order.
std::string make_lexicon(const lexicon_sources &sources);

}  // namespace tts_voice

#endif
