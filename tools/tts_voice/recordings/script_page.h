// The script as a person reads it: lines of text, or a page to print.
#ifndef TTS_VOICE_RECORDINGS_SCRIPT_PAGE_H
#define TTS_VOICE_RECORDINGS_SCRIPT_PAGE_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "recordings/script.h"

namespace tts_voice {

// A line for each: number, the part of running text that is spoken from here on, file, what to say,
// example. `reached` is spoken without any of them, 0..1.
std::string script_as_text(const std::vector<recording> &recordings, double reached);
std::string script_as_html(const std::vector<recording> &recordings);  // one page, self-contained

struct script_options {
    std::filesystem::path data;
    bool html = false;
    size_t first = 0;  // only so many recordings; 0: all
};

std::string make_script(const script_options &options);

}  // namespace tts_voice

#endif
