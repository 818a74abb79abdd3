#include "lists.h"

#include "common/files.h"
#include "common/utf8.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

std::string place_of(const fs::path &path, size_t line_index) {
    return path.string() + ":" + std::to_string(line_index + 1);
}

}  // namespace

std::vector<std::string> split(std::string_view text, char delimiter) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end; (end = text.find(delimiter, start)) != text.npos; start = end + 1) {
        parts.emplace_back(text.substr(start, end - start));
    }
    parts.emplace_back(text.substr(start));
    return parts;
}

std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines = split(text, '\n');
    if (lines.back().empty()) lines.pop_back();
    return lines;
}

std::vector<std::string> blank_separated(const std::string &line) {
    std::vector<std::string> fields;
    for (std::string &field : split(line, ' ')) {
        if (!field.empty()) fields.push_back(std::move(field));
    }
    return fields;
}

std::vector<row> read_rows(const fs::path &path, size_t least_fields, size_t most_fields) {
    const std::vector<std::string> lines = lines_of(read_file(path));
    std::vector<row> rows;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].empty() || lines[i][0] == '#') continue;
        row parsed{place_of(path, i), blank_separated(lines[i])};
        if (lines[i].find_first_of("\t\r") != std::string::npos) {
            throw failure(parsed.where + ": a tab or carriage return; fields are cut at blanks");
        }
        const size_t count = parsed.fields.size();
        if (count < least_fields || count > most_fields) {
            throw failure(parsed.where + ": " + std::to_string(count) + " field(s) in \"" +
                          lines[i] + "\", expected at " +
                          (count < least_fields ? "least " + std::to_string(least_fields)
                                                : "most " + std::to_string(most_fields)));
        }
        rows.push_back(std::move(parsed));
    }
    return rows;
}

std::vector<entry> read_lexicon(const fs::path &path) {
    const std::vector<std::string> lines = lines_of(read_file(path));
    std::vector<entry> entries;
    for (size_t i = 0; i < lines.size(); ++i) {
        const size_t equals = lines[i].find('=');
        if (equals == std::string::npos || equals == 0 || equals + 1 == lines[i].size()) {
            throw failure(place_of(path, i) + ": \"" + lines[i] + "\" is not KEY=VALUE");
        }
        entries.push_back(
            {place_of(path, i), lines[i].substr(0, equals), lines[i].substr(equals + 1)});
    }
    return entries;
}

std::vector<std::string> characters_of(std::string_view utf8, const std::string &where) {
    std::vector<std::string> characters;
    for (size_t i = 0; i < utf8.size(); i += characters.back().size()) {
        const size_t length = utf8_bytes(utf8, i);
        if (length == 0) throw failure(where + ": not UTF-8");
        characters.emplace_back(utf8.substr(i, length));
    }
    return characters;
}

std::string joined(const std::vector<std::string> &parts, std::string_view glue) {
    std::string text;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) text += glue;
        text += parts[i];
    }
    return text;
}

}  // namespace tts_voice
