// The text of tts-say: lines of UTF-8.
#ifndef TTS_SAY_INPUT_H
#define TTS_SAY_INPUT_H

#include <string>
#include <vector>

struct utterance {
    std::string where;  // for messages: the source and the line in it, from 1
    std::string text;
};

// Cuts `text` into its lines without the blank ones. Throws `failure` when a line is not UTF-8 or
// nothing is left.
std::vector<utterance> cut_lines(const std::string &text, const std::string &source);

// Reads a whole text from a file, a pipe or a device; "-" is standard input. Throws `failure` for
// more than kMostInputBytes.
std::string read_text(const std::string &path);

#endif
