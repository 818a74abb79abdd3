#include "input.h"

#include <cstdio>
#include <sstream>

#include "output.h"

namespace {

// Lead bytes of well-formed sequences. The range of the second byte keeps out overlong forms,
// surrogates and what lies past U+10FFFF; NUL is left out because it would end the text early.
constexpr struct {
    unsigned char first, last, size, low, high;
} kSequences[] = {
    {0x01, 0x7f, 1, 0x00, 0x00}, {0xc2, 0xdf, 2, 0x80, 0xbf}, {0xe0, 0xe0, 3, 0xa0, 0xbf},
    {0xe1, 0xec, 3, 0x80, 0xbf}, {0xed, 0xed, 3, 0x80, 0x9f}, {0xee, 0xef, 3, 0x80, 0xbf},
    {0xf0, 0xf0, 4, 0x90, 0xbf}, {0xf1, 0xf3, 4, 0x80, 0xbf}, {0xf4, 0xf4, 4, 0x80, 0x8f},
};

bool in_range(char c, unsigned char low, unsigned char high) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= low && byte <= high;
}

// Bytes of the character at `at`, or 0 when there is no well-formed one.
size_t character_bytes(const std::string &s, size_t at) {
    for (const auto &row : kSequences) {
        if (!in_range(s[at], row.first, row.last)) continue;
        if (s.size() - at < row.size) return 0;
        if (row.size > 1 && !in_range(s[at + 1], row.low, row.high)) return 0;
        for (size_t i = 2; i < row.size; ++i) {
            if (!in_range(s[at + i], 0x80, 0xbf)) return 0;
        }
        return row.size;
    }
    return 0;
}

void check_utf8(const utterance &line) {
    for (size_t at = 0, bytes = 0; at < line.text.size(); at += bytes) {
        bytes = character_bytes(line.text, at);
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

std::string read_file(const std::string &path) {
    const bool standard = path == "-";
    const std::string name = standard ? "standard input" : path;
    const file_ptr file(standard ? stdin : fopen(path.c_str(), "rbe"));
    if (!file) throw system_failure(name);
    std::string text;
    char part[65536];
    while (const size_t got = fread(part, 1, sizeof(part), file.get())) text.append(part, got);
    if (ferror(file.get()) != 0) throw system_failure(name);
    return text;
}
