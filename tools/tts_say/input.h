// The text of tts-say: lines of UTF-8.
#ifndef TTS_SAY_INPUT_H
#define TTS_SAY_INPUT_H

#include <string>
#include <vector>

struct utterance {
    std::string where;  // for messages: the source and the line in it, from 1
    std::string text;
};

// Cuts `text` into its lines without the blank ones. Throws failure when a line is no UTF-8 text or
// nothing is left.
std::vector<utterance> cut_lines(const std::string &text, const std::string &source);

// A whole text; "-" is standard input. A pipe or a device is read to its end, but 256 MiB are too
// much. Throws failure.
std::string read_text(const std::string &path);

#endif
