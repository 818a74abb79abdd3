// Phones, readings, surnames, temperature phrases and English words.
#include <algorithm>

#include "check/checked_tree.h"
#include "common/voice_names.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

constexpr char kPhoneFile[] = "yinsu.txt";

void require_reachable(checked_tree &tree, const string &file, const lexicon_entry &entry,
                       size_t characters) {
    if (is_looked_up_as(entry.key, characters, 1)) return;
    tree.add(kinds::kKeyUnreachable, file, entry.line,
             "\"" + entry.key + "\" is not " + std::to_string(characters) +
                 " character(s) of three bytes");
}

// Names that stand in the list again. Equal names are one phone, but a search ends at the first
// copy of the list's last name.
void check_repetitions(checked_tree &tree, const std::vector<text_line> &lines) {
    std::map<string, int> seen;
    for (const text_line &line : lines) {
        if (line.text.empty()) {
            tree.add(kinds::kEmptyLine, kPhoneFile, line.number, "the line is empty");
        }
        const auto [first, is_new] = seen.emplace(line.text, line.number);
        if (is_new) continue;
        const string earlier = std::to_string(first->second);
        if (line.text == lines.back().text) {
            tree.add(
                kinds::kLastPhoneRepeated, kPhoneFile, line.number,
                "\"" + line.text + "\" ends the list, and stands in line " + earlier + " already");
        } else if (!line.text.empty()) {
            tree.add(kinds::kPhoneRepeated, kPhoneFile, line.number,
                     line.text + " stands in line " + earlier + " already");
        }
    }
}

class reading_check {
  public:
    reading_check(checked_tree &tree, string file) : tree_(tree), file_(std::move(file)) {}

    void check(const lexicon_entry &entry) {
        if (entry.value == "error") return;  // the engine's own word for a short pause
        const string reading = soft_tone(entry.value, tree_.phones);
        if (!tree_.is_phone(reading)) {
            tree_.add(kinds::kReadingNotPhone, file_, entry.line,
                      entry.key + " reads \"" + entry.value + "\"" +
                          (reading == entry.value ? "" : ", completed \"" + reading + "\"") +
                          ", no phone of yinsu.txt");
        } else if (reading != entry.value) {
            tree_.add(kinds::kReadingCompleted, file_, entry.line,
                      entry.key + " reads \"" + entry.value + "\", no phone: taken for " + reading);
        } else if (reading.find('3') != string::npos && third_tones_.insert(reading).second) {
            check_third_tone(entry, reading);
        }
    }

  private:
    // As redupli_words looks for the clip that speaks it before another third tone.
    void check_third_tone(const lexicon_entry &entry, const string &reading) {
        string second = reading;
        std::replace(second.begin(), second.end(), '3', '2');
        if (tree_.is_phone(second)) return;
        const bool first = tree_.is_phone(clip_at(second, clip_place::first));
        const bool inside = tree_.is_phone(clip_at(second, clip_place::inside));
        if (first && inside) return;
        const clip_place lacking = first ? clip_place::inside : clip_place::first;
        tree_.add(kinds::kThirdToneAlone, file_, entry.line,
                  reading + ", here of " + entry.key + ", lacks the phone " + second +
                      (first || inside ? " or " + clip_at(second, lacking) : ""));
    }

    checked_tree &tree_;
    const string file_;
    std::set<string> third_tones_;  // readings that were judged
};

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
        tree.add(kinds::kPhraseHides, file, entry.line,
                 "\"" + entry.key + "\" is found in texts, but does not lie on whole characters");
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
        tree.add(kinds::kPhraseNotPhone, file, entry.line,
                 entry.key + ": \"" + name + "\" is no phone of yinsu.txt");
        spoken = false;
    }
    const size_t characters = segments_of(entry.key).size();
    if (spoken && names.size() > characters) {
        tree.add(kinds::kPhraseTooLong, file, entry.line,
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
        tree.add(kinds::kPieceMissing, file, word.line + 1, word.key + ": no clip " + clip);
    }
}

// The words of the file, each with the line below it. Ends at the first empty line.
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
        tree.lose_a_list();
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

void check_phones(checked_tree &tree) {
    const string pause = phone_clip(kShortPause);
    if (!tree.has_clip(pause, "characters without reading")) {
        tree.add(kinds::kShortPauseMissing, pause, 0, "there is no such clip");
    }
    const std::vector<text_line> lines = tree.read_lines(kPhoneFile);
    const std::filesystem::path path = tree.root / kPhoneFile;
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return;
    if (load_all_phone(path.string(), tree.phones) < 0) return;
    tree.count_memory(tree.phones);
    tree.set_phones(lines);
    if (tree.phones.empty()) {
        tree.add(kinds::kPhoneListEmpty, kPhoneFile, 0, "there is no phone in it");
        return tree.lose_a_list();
    }
    check_repetitions(tree, lines);
    for (const text_line &line : lines) {
        if (line.text.empty() || !line.is_utf8 || line.text == kShortPause) continue;
        const string clip = phone_clip(line.text);
        if (tree.has_clip(clip, kPhoneFile, line.number)) continue;
        tree.add(kinds::kPhoneWithoutClip, kPhoneFile, line.number, "no clip " + clip);
    }
}

void check_characters(checked_tree &tree) {
    const string file = "pinyin_dict.txt";
    const std::vector<lexicon_entry> entries = tree.read_entries(file);
    reading_check readings(tree, file);
    for (const lexicon_entry &entry : entries) {
        require_reachable(tree, file, entry, 1);
        if (!tree.phones.empty()) readings.check(entry);
    }
}

void check_surnames(checked_tree &tree) {
    const string singles = "surname_pinyin_single.txt", doubles = "surname_pinyin_dural.txt";
    for (const lexicon_entry &entry : tree.read_entries(singles)) {
        require_reachable(tree, singles, entry, 1);
        check_single_surname(tree, singles, entry);
    }
    for (const lexicon_entry &entry : tree.read_entries(doubles)) {
        require_reachable(tree, doubles, entry, 2);
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
    for (const lexicon_entry &word : tree.taken(file, words, loaded)) check_word(tree, file, word);
}

}  // namespace tts_voice
