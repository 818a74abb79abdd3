#include "input.h"

#include <unistd.h>

#include <sstream>

#include "common/files.h"
#include "common/utf8.h"

using namespace tts_tools;

namespace {

void check_utf8(const utterance &line) {
    for (size_t at = 0, bytes = 0; at < line.text.size(); at += bytes) {
        // A NUL would end the text early.
        bytes = line.text[at] != '\0' ? utf8_bytes(line.text, at) : 0;
        if (bytes > 0) continue;
        throw failure(line.where + ": invalid UTF-8 at byte offset " + std::to_string(at));
    }
}

}  // namespace

std::vector<utterance> cut_lines(const std::string &text, const std::string &source) {
    const bool byte_order_mark = text.compare(0, 3, "\xef\xbb\xbf") == 0;
    std::istringstream lines(text.substr(byte_order_mark ? 3 : 0));
    std::vector<utterance> utterances;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        utterance next{source + ": line " + std::to_string(++number), line};
        check_utf8(next);
        next.text.erase(next.text.find_last_not_of(" \t\r") + 1);
        if (!next.text.empty()) utterances.push_back(next);
    }
    if (utterances.empty()) throw failure(source + ": no text to say");
    return utterances;
}

std::string read_text(const std::string &path) {
    if (path != "-") return read_argument(path);
    return read_all(STDIN_FILENO, "standard input", kMostInputBytes);
}
