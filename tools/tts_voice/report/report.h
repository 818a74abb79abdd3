// One page that shows a voice: its figures, its faults, and every clip to listen to.
#ifndef TTS_VOICE_REPORT_REPORT_H
#define TTS_VOICE_REPORT_REPORT_H

#include <filesystem>
#include <string>

#include "check/check.h"

namespace tts_voice {

struct report_options {
    std::filesystem::path root;
    std::filesystem::path output;
    std::filesystem::path data;  // for character_counts.txt
    bool show_progress = false;
};

// All that the page shows except the sounds: JSON without a "<", for a script element. Throws
// `failure` when the counts cannot be read. When a list of the tree cannot, the JSON says so: its
// "text" is {"lost": why}.
std::string page_data(const report_options &options, const check_result &check);

// Writes the page whole or not at all. Returns 0, or 2 when `root` is not a readable directory;
// whatever is wrong below it is shown on the page. Throws `failure` when the page cannot be
// written.
int run_report(const report_options &options);

}  // namespace tts_voice

#endif
