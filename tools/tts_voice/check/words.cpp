// Surnames, temperature phrases and English words.
#include <algorithm>

#include "check/checked_tree.h"
#include "common/voice_names.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

void check_single_surname(checked_tree &tree, const string &file, const lexicon_entry &entry) {
    const string first = phone_clip(entry.value, clip_place::first);
    if (tree.has_clip(first, file, entry.line)) return;
    if (tree.has_clip(phone_clip(entry.value), file, entry.line)) {
        tree.add(kinds::kSurnamePlainClip, file, entry.line,
                 entry.key + ": no clip " + first + ", only " + entry.value);
    } else {
        tree.add(kinds::kSurnameWithoutClip, file, entry.line,
                 entry.key + ": neither " + first + " nor " + phone_clip(entry.value));
    }
}

void check_phrase_key(checked_tree &tree, const string &file, const lexicon_entry &entry) {
    const std::vector<split_rawData> segments = segments_of(entry.key);
    string text;
    for (const split_rawData &segment : segments) text += segment.str;
    int index = -1;
    if (text.empty() || text != entry.key) {
        tree.add(kinds::kKeyUnreachable, file, entry.line,
                 "\"" + entry.key + "\" is \"" + text + "\" to the engine");
    } else if (check_temp_exist(segments, {{entry.key, entry.value}}, index) == 0 || index != 0 ||
               segments.front().type != 1) {
        tree.add(kinds::kPhraseHidesOthers, file, entry.line,
                 "\"" + entry.key + "\" is found in texts, but does not match whole characters");
    }
}

void check_phrase_names(checked_tree &tree, const string &file, const lexicon_entry &entry) {
    const std::vector<string> names = stringSplit(entry.value, ' ');
    if (names.empty())
        tree.add(kinds::kPhraseWithoutNames, file, entry.line,
                 "\"" + entry.key + "\" names no clip");
    bool spoken = true;
    for (const string &name : names) {
        if (tree.is_phone(name)) continue;
        tree.add(kinds::kPhraseNameNotPhone, file, entry.line,
                 entry.key + ": \"" + name + "\" is not in yinsu.txt");
        spoken = false;
    }
    const size_t characters = segments_of(entry.key).size();
    if (spoken && names.size() > characters) {
        tree.add(kinds::kPhraseTooManyNames, file, entry.line,
                 entry.key + ": " + std::to_string(names.size()) + " clips for " +
                     std::to_string(characters) + " character(s)");
    }
}

void check_word(checked_tree &tree, const string &file, const lexicon_entry &word) {
    if (!is_looked_up_as(word.key, 1, 0)) {
        tree.add(kinds::kKeyUnreachable, file, word.line,
                 "\"" + word.key + "\" is not one run of letters a to z");
    }
    std::vector<string> pieces = stringSplit(word.value, ',');
    if (pieces.empty()) pieces.emplace_back();
    for (const string &piece : pieces) {
        const string clip = english_clip(piece);
        if (tree.has_clip(clip, file, word.line)) continue;
        tree.add(kinds::kEnglishPieceMissing, file, word.line + 1, word.key + ": no clip " + clip);
    }
}

// The words of the file, each with its clips from the line below. Stops at the first empty line.
std::vector<lexicon_entry> read_words(checked_tree &tree, const string &file) {
    std::vector<lexicon_entry> words;
    const std::vector<text_line> lines = tree.read_lines(file);
    const auto is_empty = [](const text_line &line) { return line.text.empty(); };
    const auto empty = std::find_if(lines.begin(), lines.end(), is_empty);
    const bool at_end =
        (empty - lines.begin()) % 2 == 0 && std::all_of(empty, lines.end(), is_empty);
    if (empty != lines.end() && at_end) {
        tree.add(kinds::kEmptyLine, file, empty->number, "the line is empty");
    } else if (empty != lines.end()) {
        tree.add(kinds::kEnglishBlankLine, file, empty->number,
                 "the line is empty; the file was not checked from here on");
        tree.mark_lists_incomplete();
    } else if (lines.size() % 2 != 0) {
        tree.add(kinds::kEnglishOddLines, file, lines.back().number,
                 lines.back().text + " has no line of clips");
    }
    for (auto line = lines.begin(); empty - line > 1; line += 2) {
        if (!line[0].is_utf8 || !line[1].is_utf8) continue;
        words.push_back({line->number, line[0].text, line[1].text, line[0].raw, line[1].raw});
    }
    return words;
}

}  // namespace

void check_surnames(checked_tree &tree) {
    const string singles = "surname_pinyin_single.txt", doubles = "surname_pinyin_dural.txt";
    for (const lexicon_entry &entry : tree.read_entries(singles)) {
        check_chinese_key(tree, singles, entry, 1);
        check_single_surname(tree, singles, entry);
    }
    for (const lexicon_entry &entry : tree.read_entries(doubles)) {
        check_chinese_key(tree, doubles, entry, 2);
        const string clip = phone_clip(entry.value, clip_place::first);
        if (tree.has_clip(clip, doubles, entry.line)) continue;
        tree.add(kinds::kSurnameWithoutClip, doubles, entry.line, entry.key + ": no clip " + clip);
    }
}

void check_phrases(checked_tree &tree) {
    const string file = "dst_temperature.txt";
    for (const lexicon_entry &entry : tree.read_entries(file)) {
        check_phrase_key(tree, file, entry);
        if (!tree.phones.empty()) check_phrase_names(tree, file, entry);
    }
}

void check_english(checked_tree &tree) {
    const string file = "eng_dict.txt";
    const std::vector<lexicon_entry> words = read_words(tree, file);
    dict_map loaded;
    load_eng_dict((tree.root / file).string(), loaded);
    tree.count_memory(loaded);
    for (const lexicon_entry &word : tree.entries_in_effect(file, words, loaded))
        check_word(tree, file, word);
}

}  // namespace tts_voice
