// The text files under voice/ that people edit, and small helpers for the text in them.
#ifndef TTS_VOICE_LISTS_H
#define TTS_VOICE_LISTS_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tts_voice {

// One line of a list, cut at its blanks. Empty lines and lines that begin with '#' are skipped.
struct row {
    std::string where;  // "voice/surnames.txt:12", for messages
    std::vector<std::string> fields;
};

// Throws `failure` naming the line for a row with too few or too many fields, or with a tab.
std::vector<row> read_rows(const std::filesystem::path &path, size_t least_fields,
                           size_t most_fields);

// One line KEY=VALUE of a lexicon as the engine reads it: no comments, nothing trimmed.
struct entry {
    std::string where;
    std::string key;
    std::string value;
};

std::vector<entry> read_lexicon(const std::filesystem::path &path);

std::vector<std::string> lines_of(std::string_view text);  // the last line may lack its newline
std::vector<std::string> split(std::string_view text, char delimiter);
std::vector<std::string> blank_separated(const std::string &line);  // no empty fields
std::vector<std::string> characters_of(std::string_view utf8, const std::string &where);
std::string joined(const std::vector<std::string> &parts, std::string_view glue);

}  // namespace tts_voice

#endif
