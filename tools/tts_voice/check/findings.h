// The result of a check as text for people and as JSON for programs.
#ifndef TTS_VOICE_CHECK_FINDINGS_H
#define TTS_VOICE_CHECK_FINDINGS_H

#include <filesystem>
#include <string>

#include "check/check.h"

namespace tts_voice {

// Findings by code, at most ten of each, and a summary as the last line.
std::string report_text(const std::filesystem::path &root, const check_result &result);

// One object: root, errors, warnings, clips, clip_bytes, lexicon_bytes, greeting_bytes, and
// findings, an array of all of them with level, code, file, line, what, effect and fix.
std::string report_json(const std::filesystem::path &root, const check_result &result);

struct check_options {
    std::filesystem::path root;
    bool json = false;
};

// Checks and prints. Returns the exit status: 0 no errors, 1 errors, 2 no tree to be read.
int run_check(const check_options &options);

}  // namespace tts_voice

#endif
