// The list of phones, and the readings of the characters, which are phones.
#include <algorithm>

#include "check/checked_tree.h"
#include "common/voice_names.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

constexpr char kPhoneFile[] = "yinsu.txt";

// Reports repeated names. Equal names are one phone, but the engine's search ends at the first copy
// of the list's last name.
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
            tree.add(kinds::kLastPhoneRepeated, kPhoneFile, line.number,
                     "\"" + line.text + "\" ends the list, and is already in line " + earlier);
        } else if (!line.text.empty()) {
            tree.add(kinds::kPhoneRepeated, kPhoneFile, line.number,
                     line.text + " is already in line " + earlier);
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
                          ", which is not in yinsu.txt");
        } else if (reading != entry.value) {
            tree_.add(kinds::kReadingCompleted, file_, entry.line,
                      entry.key + " reads \"" + entry.value +
                          "\", which is not a phone: taken for " + reading);
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
        tree_.add(kinds::kThirdToneWithoutSecond, file_, entry.line,
                  reading + ", here of " + entry.key + ", lacks the phone " + second +
                      (first || inside ? " or " + clip_at(second, lacking) : ""));
    }

    checked_tree &tree_;
    const string file_;
    std::set<string> third_tones_;  // readings already checked
};

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
        return tree.mark_lists_incomplete();
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
        check_chinese_key(tree, file, entry, 1);
        if (!tree.phones.empty()) readings.check(entry);
    }
}

}  // namespace tts_voice
