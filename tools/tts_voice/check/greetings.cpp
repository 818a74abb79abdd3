// The greetings' configuration and clips, and the leading pause.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <utility>

#include "check/checked_tree.h"
#include "common/ini.h"
#include "common/voice_names.h"
#include "engine_start.h"
#include "lists.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

constexpr const char *kFile = kGreetingFile;
constexpr char kSettings[] = "default_config";
constexpr size_t kMostGreetings = 64, kLongestName = sizeof(greeting_info::ch_name) - 1;

// The keys that are read. `ch_pinyin` is read by tts-voice build.
const std::vector<string> kSettingKeys = {"default_language", "default_num", "defaule_pos",
                                          "default_id", "temperature_language"};
const std::vector<string> kGreetingKeys = {"id",        "ch_name",  "ch_content",
                                           "ch_pinyin", "eng_name", "eng_content"};

// The number of the line in "iniparser: syntax error in FILE (7): ..."; 0 without one.
int line_in_message(const string &message) {
    const size_t open = message.rfind(" (");
    if (open == string::npos) return 0;
    return static_cast<int>(std::strtol(message.c_str() + open + 2, nullptr, 10));
}

string trimmed_lower(const string &text) {
    constexpr char kBlanks[] = " \t\r";
    const size_t first = text.find_first_not_of(kBlanks), last = text.find_last_not_of(kBlanks);
    string result = first == string::npos ? "" : text.substr(first, last - first + 1);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return result;
}

// Insertions, deletions and replacements that make one word the other.
size_t edit_distance(const string &a, const string &b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

class greetings_check {
  public:
    greetings_check(checked_tree &tree, const dictionary *ini, const string &text)
        : tree_(tree), ini_(ini), text_(text) {}

    void run() {
        find_lines();
        const int sections = iniparser_getnsec(ini_);
        const string first = sections > 0 ? iniparser_getsecname(ini_, 0) : "";
        if (first != kSettings) {
            tree_.add(kinds::kGreetingsFirstSection, kFile, line_of(first),
                      sections > 0 ? "the first section is [" + first + "]" : "no section");
            return tree_.mark_lists_incomplete();
        }
        const greetings_info group = create_group_from((tree_.root / kFile).string());
        if (group.greetings.size() > kMostGreetings) {
            tree_.add(kinds::kGreetingsTooMany, kFile, 0,
                      std::to_string(group.greetings.size()) + " greetings, at most 64 are loaded");
            tree_.mark_lists_incomplete();
        }
        const size_t count = std::min(group.greetings.size(), kMostGreetings);
        check_default(group.gConfig, static_cast<int>(count));
        for (size_t i = 0; i < count; ++i) check_greeting(group.greetings[i], static_cast<int>(i));
    }

  private:
    // Finds the lines of sections and keys; reports repeated and misspelt ones.
    void find_lines() {
        string section;
        int number = 0;
        for (const string &line : lines_of(text_)) {
            ++number;
            const string text = trimmed_lower(line);
            const size_t equals = text.find('=');
            if (text.empty() || text[0] == '#' || text[0] == ';') continue;
            if (text[0] == '[') {
                section = trimmed_lower(text.substr(1, text.find(']') - 1));
                note(section, number);
            } else if (equals != string::npos) {
                const string key = trimmed_lower(text.substr(0, equals));
                note(section + ":" + key, number);
                check_spelling(section, key, number);
            }
        }
    }

    void note(const string &name, int line) {
        const auto [earlier, is_new] = lines_.emplace(name, line);
        if (is_new) return;
        tree_.add(kinds::kConflictingKey, kFile, line,
                  name + " is in the file twice, first in line " + std::to_string(earlier->second) +
                      "; the last value is taken");
    }

    void check_spelling(const string &section, const string &key, int line) {
        constexpr size_t kMisspelt = 2;  // letters
        const auto &known = section == kSettings ? kSettingKeys : kGreetingKeys;
        if (std::find(known.begin(), known.end(), key) != known.end()) return;
        const auto meant = std::find_if(known.begin(), known.end(), [&key](const string &k) {
            return edit_distance(k, key) <= kMisspelt;
        });
        if (meant == known.end()) return;
        tree_.add(kinds::kGreetingKeyMisspelt, kFile, line,
                  key + " is not read; the engine reads \"" + *meant + "\"");
    }

    void check_default(const greeting_config &settings, int count) {
        const bool plays =
            settings.default_pos == GREETING_AHEAD || settings.default_pos == GREETING_END;
        const auto wrong = [&](const char *key, int value, const string &allowed) {
            tree_.add(kinds::kGreetingDefault, kFile, line_of(string(kSettings) + ":" + key),
                      string(key) + " is " + std::to_string(value) + ", not " + allowed);
        };
        if (!plays && settings.default_pos != GREETING_CLOSE) {
            wrong("defaule_pos", settings.default_pos, "-1, 0 or 1");
        }
        if (!plays || settings.default_num < 1) return;
        if (settings.default_language != 0 && settings.default_language != 1) {
            wrong("default_language", settings.default_language, "0 or 1");
        }
        if (settings.default_id < 0 || settings.default_id >= count) {
            wrong("default_id", settings.default_id, "below " + std::to_string(count));
        }
    }

    void check_greeting(const greeting_info &info, int place) {
        const string section = iniparser_getsecname(ini_, place + 1);
        if (lines_.count(section + ":id") != 0 && info.greet_id != place) {
            tree_.add(kinds::kGreetingId, kFile, line_of(section + ":id"),
                      "[" + section + "] is greeting " + std::to_string(place) +
                          " for a request, but has the id " + std::to_string(info.greet_id));
        }
        check_name(section, "ch_name", info.ch_name);
        check_name(section, "eng_name", info.eng_name);
    }

    // `loaded` is the name as the engine keeps it.
    void check_name(const string &section, const char *key, const string &loaded) {
        const string full_key = section + ":" + key;
        const int line = line_of(lines_.count(full_key) != 0 ? full_key : section);
        const string name = ini_value(*ini_, full_key);
        if (name.empty()) {
            tree_.add(kinds::kGreetingWithoutName, kFile, line, "[" + section + "] has no " + key);
        } else if (loaded != name) {
            tree_.add(kinds::kGreetingNameLong, kFile, line,
                      name + " has " + std::to_string(name.size()) + " bytes, at most " +
                          std::to_string(kLongestName) + " fit");
            tree_.mark_lists_incomplete();
        } else if (!tree_.has_clip(greeting_clip(name), kFile, line)) {
            tree_.add(kinds::kGreetingWithoutClip, kFile, line, "no clip " + greeting_clip(name));
        }
    }

    int line_of(const string &name) const {
        const auto found = lines_.find(name);
        return found != lines_.end() ? found->second : 0;
    }

    checked_tree &tree_;
    const dictionary *ini_;
    const string &text_;
    std::map<string, int> lines_;  // "section" and "section:key"
};

}  // namespace

void check_greetings(checked_tree &tree) {
    const string pause = greeting_clip(kLeadingPause);
    if (!tree.has_clip(pause, "every text")) {
        tree.add(kinds::kLeadingPauseMissing, pause, 0, "there is no such clip");
    }
    const std::optional<string> text = tree.read_text(kFile);
    if (!text) return;
    if (text->size() > kMostIniBytes) {
        tree.add(kinds::kFileUnreadable, kFile, 0, "the file is larger than 16 MiB");
        return tree.mark_lists_incomplete();
    }
    string error;
    if (const ini_ptr ini = load_ini(tree.root / kFile, &error)) {
        return greetings_check(tree, ini.get(), *text).run();
    }
    tree.add(kinds::kGreetingsUnreadable, kFile, line_in_message(error),
             "this is not a line of an INI file");
    tree.mark_lists_incomplete();
}

}  // namespace tts_voice
