// Plans the English words and letters of a voice.
#ifndef TTS_VOICE_PLAN_ENGLISH_PLAN_H
#define TTS_VOICE_PLAN_ENGLISH_PLAN_H

#include <filesystem>

#include "plan/plan.h"

namespace tts_voice {

// Reads the lists of English words in `data`; adds their clips and eng_dict.txt to the plan. Throws
// `failure` for a row that cannot be spoken or looked up.
void plan_english(const std::filesystem::path &data, voice_plan &plan);

}  // namespace tts_voice

#endif
