#include "plan/plan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>
#include <set>

#include "common/file_name.h"
#include "common/files.h"
#include "common/ini.h"
#include "common/voice_names.h"
#include "lists.h"
#include "plan/english_plan.h"
#include "tts_util.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

// espeak-ng speaks these syllables with the wrong vowel unless it is given the phonemes.
const std::map<string, string> kPhonemesOf = {
    {"de2", "[[t'o-35]]"}, {"te4", "[[th'o-51]]"}, {"le4", "[[l'o-51]]"}};

string spoken(const string &syllable_text) {
    const auto phonemes = kPhonemesOf.find(syllable_text);
    return phonemes == kPhonemesOf.end() ? syllable_text : phonemes->second;
}

// A line of a lexicon, whose key is the row's first field.
string lexicon_line(const row &r, const string &value) {
    if (r.fields[0].find('=') != string::npos) {
        throw failure(r.where + ": \"" + r.fields[0] + "\" has a =, which ends a key");
    }
    return r.fields[0] + "=" + value + "\n";
}

string phrase_text(const std::vector<string> &syllables) {
    std::vector<string> words(syllables.size());
    std::transform(syllables.begin(), syllables.end(), words.begin(), spoken);
    return joined(words, " ");
}

void require_clip_name(const string &where, const string &name, size_t longest) {
    const string fault = fault_of_clip_name(name, longest);
    if (!fault.empty()) throw failure(where + ": " + fault);
}

// Of two clips with one name the second would replace the first.
void require_distinct_files(const voice_plan &plan) {
    std::map<string, string> contents;
    const auto add = [&contents](const string &file, const string &content) {
        const auto [earlier, is_new] = contents.emplace(file, content);
        if (is_new || earlier->second == content) return;
        throw failure(file + " would be " + earlier->second + " and " + content);
    };
    for (const auto &[file, text] : plan.texts) add(file, "a text file");
    for (const silence &s : plan.silences) {
        add(s.file, "a pause of " + std::to_string(std::lround(s.length_ms)) + " ms");
    }
    for (const clip_job &job : plan.clips) add(job.file, '"' + job.text + '"');
}

// Collects the parts of a plan. The engine looks phones up from the front of yinsu.txt and takes a
// toneless reading as it is when it is listed, so readings in the neutral tone come first.
class planner {
  public:
    explicit planner(fs::path data) : data_(std::move(data)) {}
    voice_plan make();

  private:
    void read_characters();
    void add_pauses();
    void add_signs();
    void add_surnames();
    void add_surname_pairs();
    void add_phrases();
    void add_doubles();
    void add_syllables();
    void add_greetings();

    std::vector<string> syllables_in(const row &r, size_t first_field) const;
    string phrase_name(const row &r, size_t first_field);
    void add_phrase_clip(const string &name, position place, const std::vector<string> &syllables);
    void say_greeting(const clip_job &job);

    fs::path data_;
    voice_plan plan_;
    std::vector<entry> characters_;
    std::set<string> bases_;            // every base the lexicon uses: others are misspelt
    std::set<string> toned_, neutral_;  // syllables that get clips: "hao3", "de"
    std::vector<string> pauses_, long_names_;
    std::set<string> planned_files_;      // of pauses and of several syllables
    std::map<string, string> greeted_;    // clip of a greeting -> its text
    std::vector<clip_job> phrase_clips_;  // of several syllables; they follow the single ones
};

void planner::read_characters() {
    const fs::path path = data_ / "pinyin_dict.txt";
    characters_ = read_lexicon(path);
    if (characters_.empty()) throw failure(path.string() + ": no character in it");
    for (const entry &e : characters_) {
        syllable parsed;
        if (parse_syllable(e.value, parsed) && parsed.tone < 5) {
            toned_.insert(e.value);
            bases_.insert(parsed.base);
        } else if (parse_syllable(e.value + "5", parsed)) {
            neutral_.insert(e.value);
            bases_.insert(parsed.base);
        } else {
            throw failure(e.where + ": \"" + e.value + "\" is not a syllable");
        }
    }
}

// The fields from `first_field` on, each a syllable with tone 1 to 4, or 5 for the neutral tone.
std::vector<string> planner::syllables_in(const row &r, size_t first_field) const {
    std::vector<string> syllables(r.fields.begin() + static_cast<std::ptrdiff_t>(first_field),
                                  r.fields.end());
    for (const string &s : syllables) {
        syllable parsed;
        if (!parse_syllable(s, parsed) || !bases_.count(parsed.base)) {
            throw failure(r.where + ": \"" + s + "\" is not a pinyin syllable with a tone digit");
        }
    }
    return syllables;
}

void planner::add_phrase_clip(const string &name, position place,
                              const std::vector<string> &syllables) {
    const string file = phone_clip(name);
    if (!planned_files_.insert(file).second) return;
    phrase_clips_.push_back(
        {file, language::mandarin, place, phrase_text(syllables), syllables.size(), 0});
}

// The phone for the reading of a row. A single syllable is an ordinary phone; several syllables
// become one phone with one clip.
string planner::phrase_name(const row &r, size_t first_field) {
    const std::vector<string> syllables = syllables_in(r, first_field);
    string name = joined(syllables, "");
    if (syllables.size() == 1) {
        toned_.insert(name);
    } else if (!planned_files_.count(phone_clip(name))) {
        add_phrase_clip(name, position::final, syllables);
        long_names_.push_back(name);
    }
    return name;
}

// The prefix keeps a pause apart from the syllables, the letters make it a file name.
bool is_pause_name(const string &name) {
    constexpr char kAllowed[] = "abcdefghijklmnopqrstuvwxyz_";
    return is_pause(phone_clip(name)) && name.find_first_not_of(kAllowed) == string::npos;
}

double length_of_pause_ms(const row &r) {
    const string &length = r.fields[1];
    const char *const end = length.data() + length.size();
    int length_ms = 0;
    const auto parsed = std::from_chars(length.data(), end, length_ms);
    if (parsed.ec == std::errc() && parsed.ptr == end && length_ms >= 1 && length_ms <= 5000) {
        return length_ms;
    }
    throw failure(r.where + ": \"" + length + "\" is not a length from 1 to 5000 milliseconds");
}

void planner::add_pauses() {
    for (const row &r : read_rows(data_ / "pauses.txt", 2, 2)) {
        const string &name = r.fields[0];
        if (!is_pause_name(name)) {
            throw failure(r.where + ": \"" + name +
                          "\" is not a name of a pause: pau_ and letters a to z");
        }
        const bool leading = name == kLeadingPause;
        const string file = leading ? greeting_clip(name) : phone_clip(name);
        if (!planned_files_.insert(file).second) {
            throw failure(r.where + ": " + name + " is listed twice");
        }
        const double length_ms = length_of_pause_ms(r);
        require_clip_name(r.where, name, kLongestFileName);
        plan_.silences.push_back({file, length_ms});
        if (!leading) pauses_.push_back(name);
    }
}

void planner::add_signs() {
    string lexicon;
    for (const entry &e : characters_) lexicon += e.key + "=" + e.value + "\n";
    const std::set<string> pauses(pauses_.begin(), pauses_.end());
    for (const row &r : read_rows(data_ / "signs.txt", 2, 8)) {
        if (r.fields[0].size() != 3 || characters_of(r.fields[0], r.where).size() != 1) {
            throw failure(r.where + ": \"" + r.fields[0] +
                          "\" is not one character of three bytes; the engine drops all others");
        }
        const bool rests = r.fields.size() == 2 && pauses.count(r.fields[1]);
        lexicon += lexicon_line(r, rests ? r.fields[1] : phrase_name(r, 1));
    }
    plan_.texts["pinyin_dict.txt"] = lexicon;
}

void planner::add_surnames() {
    string singles, doubles;
    for (const row &r : read_rows(data_ / "surnames.txt", 2, 3)) {
        const std::vector<string> syllables = syllables_in(r, 1);
        const string name = joined(syllables, "");
        if (characters_of(r.fields[0], r.where).size() != syllables.size()) {
            throw failure(r.where + ": " + r.fields[0] + " needs one syllable for each character");
        }
        if (syllables.size() == 1) {
            toned_.insert(name);
            singles += lexicon_line(r, name);
        } else {
            add_phrase_clip(clip_at(name, clip_place::first), position::initial, syllables);
            doubles += lexicon_line(r, name);
        }
    }
    plan_.texts["surname_pinyin_single.txt"] = singles;
    plan_.texts["surname_pinyin_dural.txt"] = doubles;
}

// Pairs that keep their everyday reading at the start of an utterance, where the engine would read
// the first character as a surname.
void planner::add_surname_pairs() {
    string &doubles = plan_.texts["surname_pinyin_dural.txt"];
    for (const row &r : read_rows(data_ / "everyday_pairs.txt", 3, 3)) {
        if (characters_of(r.fields[0], r.where).size() != 2) {
            throw failure(r.where + ": \"" + r.fields[0] + "\" is not two characters");
        }
        const std::vector<string> syllables = syllables_in(r, 1);
        const string name = joined(syllables, "");
        add_phrase_clip(clip_at(name, clip_place::first), position::initial, syllables);
        doubles += lexicon_line(r, name);
    }
}

void planner::add_phrases() {
    string lexicon;
    for (const row &r : read_rows(data_ / "temperature.txt", 2, 16)) {
        lexicon += lexicon_line(r, phrase_name(r, 1));
    }
    plan_.texts["dst_temperature.txt"] = lexicon;
}

void planner::add_doubles() {
    for (const row &r : read_rows(data_ / "doubles.txt", 2, 2)) {
        const std::vector<string> syllables = syllables_in(r, 0);
        syllable first, second;
        parse_syllable(syllables[0], first);
        parse_syllable(syllables[1], second);
        if (first.base != second.base || first.tone == 5) {
            throw failure(r.where + ": a double is one syllable twice, the second may be neutral");
        }
        const string name = double_of(syllables[0]);
        add_phrase_clip(name, position::medial, syllables);
        long_names_.push_back(name);
    }
}

// A third tone before another one is spoken in tone 2, so that clip must exist too.
std::set<string> with_second_tones(std::set<string> toned) {
    std::vector<string> second;
    for (const string &s : toned) {
        if (tone_of(s) == 3) second.push_back(with_tone(s, 2));
    }
    toned.insert(second.begin(), second.end());
    return toned;
}

void planner::add_syllables() {
    constexpr std::pair<clip_place, position> kPlaces[] = {{clip_place::last, position::final},
                                                           {clip_place::first, position::initial},
                                                           {clip_place::inside, position::medial}};
    string phones, toned_phones;
    const auto add = [&](const string &name, const string &text, int tone, string &list) {
        for (const auto &[place, spoken_at] : kPlaces) {
            const string clip = clip_at(name, place);
            plan_.clips.push_back({phone_clip(clip), language::mandarin, spoken_at, text, 1, tone});
            list += clip + "\n";
        }
    };
    for (const string &s : neutral_) add(s, s + "5", 5, phones);
    for (const string &s : with_second_tones(toned_)) {
        add(s, spoken(s), tone_of(s), toned_phones);
    }
    for (const string &pause : pauses_) phones += pause + "\n";
    phones += toned_phones;
    for (const string &name : long_names_) phones += name + "\n";
    plan_.texts["yinsu.txt"] = phones;
}

// Greetings may share a clip that says the same.
void planner::say_greeting(const clip_job &job) {
    const auto [earlier, is_new] = greeted_.emplace(job.file, job.text);
    if (is_new || earlier->second != job.text) plan_.clips.push_back(job);
}

// greetings.ini is installed as it is. Its key ch_pinyin is for this program; the engine ignores
// it.
void planner::add_greetings() {
    const fs::path path = data_ / "greetings.ini";
    plan_.texts[kGreetingFile] = read_file(path);
    const ini_ptr ini = require_ini(path);
    const auto value_of = [&](const string &section, const char *key) {
        string value = ini_value(*ini, section + ":" + key);
        if (value.empty()) throw failure(path.string() + ": [" + section + "] lacks " + key);
        return value;
    };
    const auto clip_of = [&](const string &section, const char *key) {
        constexpr size_t kLongest = sizeof(greeting_info::ch_name) - 1;
        const string name = value_of(section, key);
        require_clip_name(path.string() + ": [" + section + "] " + key, name, kLongest);
        return greeting_clip(name);
    };
    for (int i = 1; i < iniparser_getnsec(ini.get()); ++i) {
        const string section = iniparser_getsecname(ini.get(), i);
        std::vector<string> phrases;  // a comma is a short rest
        for (const string &phrase : split(value_of(section, "ch_pinyin"), ',')) {
            const row r{path.string() + ": [" + section + "] ch_pinyin", blank_separated(phrase)};
            phrases.push_back(phrase_text(syllables_in(r, 0)));
        }
        say_greeting({clip_of(section, "ch_name"), language::mandarin, position::alone,
                      joined(phrases, ", "), 0, 0});
        say_greeting({clip_of(section, "eng_name"), language::english, position::alone,
                      value_of(section, "eng_content"), 0, 0});
    }
}

voice_plan planner::make() {
    read_characters();
    add_pauses();
    add_signs();
    add_surnames();
    add_surname_pairs();
    add_phrases();
    add_doubles();
    add_syllables();
    plan_.clips.insert(plan_.clips.end(), phrase_clips_.begin(), phrase_clips_.end());
    plan_english(data_, plan_);
    add_greetings();
    require_distinct_files(plan_);
    return std::move(plan_);
}

}  // namespace

voice_plan make_plan(const fs::path &data) {
    return planner(data).make();
}

}  // namespace tts_voice
