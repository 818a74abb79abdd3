// What the parts of the check share: the tree, the findings so far, and which clips are used.
#ifndef TTS_VOICE_CHECK_CHECKED_TREE_H
#define TTS_VOICE_CHECK_CHECKED_TREE_H

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "check/check.h"
#include "check/kinds.h"
#include "lexicon_types.h"
#include "tts_util.h"

namespace tts_voice {

// A line of a text file. `raw` is what the engine reads, `text` the same without carriage
// returns and byte-order mark, which are reported once instead of for every name they are part of.
struct text_line {
    int number;  // from 1
    bool is_utf8;
    std::string raw, text;
};

struct lexicon_entry {
    int line;
    std::string key, value;
    std::string raw_key, raw_value;  // as the engine reads them
};

class checked_tree {
  public:
    explicit checked_tree(std::filesystem::path root);

    const std::filesystem::path root;
    check_result result;
    phone_list phones;                              // see set_phones()
    std::map<std::string, std::string> used_clips;  // file -> who names it: "yinsu.txt:7"

    void add(const finding_kind &kind, const std::string &file, int line, const std::string &what);

    // Sets `phones` from the lines of yinsu.txt, without the bytes that read_lines() reported.
    void set_phones(const std::vector<text_line> &lines);
    // Whether a name is listed. The engine's own search ends at the first copy of the last name;
    // that fault is reported once, so this counts the names after it as listed.
    bool is_phone(const std::string &name) const { return phone_names_.count(name) != 0; }

    // Whether `file` in the tree ("pinyinRaw/hao3") is a file. If so, notes `user` as its user.
    // Also true when the whole directory is missing, which is reported once.
    bool has_clip(const std::string &file, const std::string &user);
    // The same for a name from a line of a list. Reports a name that leads to another directory or
    // that no file can have, and returns true for it.
    bool has_clip(const std::string &file, const std::string &list, int line);

    // The unused files of a directory, sorted by name. Empty when a list that may name them could
    // not be read to its end; mark_lists_incomplete() notes that.
    std::vector<std::string> unused_clips(const std::string &directory) const;
    void mark_lists_incomplete() { lists_complete_ = false; }

    // The bytes of a text file. Without a value when the engine cannot read it, which is reported.
    std::optional<std::string> read_text(const std::string &file);

    // The lines of a text file. Reports what is wrong with the bytes.
    std::vector<text_line> read_lines(const std::string &file);

    // The entries of a lexicon "key=value" that the engine uses, in the order of their lines.
    std::vector<lexicon_entry> read_entries(const std::string &file);

    // The entries from which `loaded` has its values. Reports the others.
    std::vector<lexicon_entry> entries_in_effect(const std::string &file,
                                                 const std::vector<lexicon_entry> &entries,
                                                 const dict_map &loaded);

    // Counts the memory that a loaded lexicon takes.
    void count_memory(const dict_map &loaded);
    void count_memory(const phone_list &loaded);

  private:
    bool in_missing_directory(const std::string &file) const {
        return missing_directories_.count(file.substr(0, file.find('/'))) != 0;
    }

    std::set<std::string> missing_directories_;  // directories that are missing
    std::set<std::string> phone_names_;
    bool lists_complete_ = true;
};

// The segments of a text as the engine cuts it, with numbers in words. Empty when it throws.
std::vector<split_rawData> segments_of(const std::string &text);

// Whether the engine looks `key` up as `count` segments of a type, 0 English, 1 Chinese.
bool is_looked_up_as(const std::string &key, size_t count, int type);

// Reports a key that the engine does not look up as so many Chinese characters.
void check_chinese_key(checked_tree &tree, const std::string &file, const lexicon_entry &entry,
                       size_t characters);

std::string place_of(const std::string &file, int line);  // "yinsu.txt:7"

// The parts, in the order to run them: phones are needed for readings.
void check_phones(checked_tree &tree);
void check_characters(checked_tree &tree);
void check_surnames(checked_tree &tree);
void check_phrases(checked_tree &tree);
void check_english(checked_tree &tree);
void check_greetings(checked_tree &tree);
void check_clips(checked_tree &tree);

}  // namespace tts_voice

#endif
