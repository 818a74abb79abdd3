#include "recordings/script.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <memory>

#include "common/failure.h"
#include "common/ini.h"
#include "common/voice_names.h"
#include "lists.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

// Puts `word` for the sign @.
string filled(string sentence, const string &word) {
    return sentence.replace(sentence.find('@'), 1, word);
}

// "er4shi2du4" and "ma1_ma1" give "er4 shi2 du4" and "ma1 ma1".
string spaced(const clip_name &phone) {
    return phone.syllables.empty() ? phone.name : joined(phone.syllables, " ");
}

// Of a character that has several readings the engine takes the last.
std::map<string, string> readings_in(const voice_texts &texts) {
    std::map<string, string> readings;
    for (const auto &[character, reading] : entries_in(texts, "pinyin_dict.txt")) {
        readings[character] = reading;
    }
    return readings;
}

// Their sum is not 0.
std::map<string, double> read_counts(const fs::path &path) {
    std::map<string, double> counts;
    for (const row &r : read_rows(path, 2, 2)) {
        const string &text = r.fields[1];
        unsigned count = 0;
        const auto parsed = std::from_chars(text.data(), text.data() + text.size(), count);
        if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) {
            throw failure(r.where + ": \"" + text + "\" is not a count");
        }
        counts[r.fields[0]] += count;
    }
    const auto is_counted = [](const auto &character) { return character.second > 0; };
    if (std::none_of(counts.begin(), counts.end(), is_counted)) {
        throw failure(path.string() + ": no character is counted in it");
    }
    return counts;
}

class script_writer {
  public:
    script_writer(const voice_texts &texts, const fs::path &counts)
        : texts_(texts), phones_(phones_of(texts)), counts_(read_counts(counts)) {}

    std::vector<recording> write() {
        weigh_readings();
        add_syllables();
        add_greetings();
        add_english();
        add_phrases();
        add_pairs();
        std::stable_sort(all_.begin(), all_.end(), [](const recording &a, const recording &b) {
            return a.part != b.part ? a.part < b.part : a.share > b.share;
        });
        // Several names may share a clip: the list of phones may have those of surnames too.
        std::set<string> clips;
        const auto again = [&](const recording &r) { return !clips.insert(r.clip).second; };
        std::vector<recording> once;
        std::remove_copy_if(all_.begin(), all_.end(), std::back_inserter(once), again);
        return once;
    }

  private:
    void weigh_readings();
    void add_syllables();
    void add_greetings();
    void add_english();
    void add_phrases();
    void add_double_syllable(const clip_name &phone);
    void add_pairs();
    void add_phone(script_part part, const string &name, const string &say, const string &example) {
        all_.push_back({part, "phones", name, phone_clip(name), say, example});
    }

    const voice_texts &texts_;
    const voice_phones phones_;
    const std::map<string, double> counts_;
    std::map<string, double> share_;  // reading -> part of running text
    // Reading -> some characters that have it, the commonest first.
    std::map<string, std::vector<string>> readers_;
    std::vector<recording> all_;
};

void script_writer::weigh_readings() {
    double total = 0, third = 0;
    for (const auto &[character, count] : counts_) total += count;
    const auto count_of = [this](const string &character) {
        const auto found = counts_.find(character);
        return found == counts_.end() ? 0.0 : found->second;
    };
    std::map<string, double> counted;
    for (const auto &[character, reading] : readings_in(texts_)) {
        if (!phones_.syllables.count(reading)) continue;
        readers_[reading].push_back(character);
        counted[reading] += count_of(character);
        if (tone_of(reading) == 3) third += count_of(character);
    }
    for (const auto &[reading, count] : counted) {
        const string second = with_tone(reading, 2);
        const bool turns = tone_of(reading) == 3 && phones_.syllables.count(second);
        const double turned = turns ? count * third / total : 0;
        share_[reading] += (count - turned) / total;
        if (turns) share_[second] += turned / total;
    }
    constexpr size_t kShown = 4;
    for (auto &[reading, characters] : readers_) {
        std::stable_sort(characters.begin(), characters.end(),
                         [&](const auto &a, const auto &b) { return count_of(a) > count_of(b); });
        const auto rare = std::find_if(characters.begin() + 1, characters.end(),
                                       [&](const string &c) { return count_of(c) == 0; });
        characters.erase(rare, characters.end());
        characters.resize(std::min(characters.size(), kShown));
    }
}

// Each place has its own sentence. The neighbours are in the fourth tone: they change no tone.
void script_writer::add_syllables() {
    for (const string &name : phones_.syllables) {
        const double share = share_[name];
        string characters, example = name;  // a syllable that only surnames have
        string inside = "这个@字。";
        if (readers_.count(name)) {
            example = readers_[name].front();
            for (const string &character : readers_[name]) characters += " " + character;
        } else if (tone_of(name) == 2) {
            const auto third = readers_.find(with_tone(name, 3));
            if (third != readers_.end()) {
                example = third->second.front();
                characters = " " + example;
                inside = "这个@法。";
            }
        }
        const auto add = [&](script_part part, clip_place place, const string &sentence) {
            add_phone(part, clip_at(name, place), name + characters, filled(sentence, example));
            all_.back().share = share;
        };
        add(share > 0 ? script_part::inside : script_part::rare, clip_place::inside, inside);
        add(script_part::last, clip_place::last, "这个是@。");
        add(script_part::first, clip_place::first, "@字在前。");
    }
}

void script_writer::add_greetings() {
    const ini_ptr ini = require_ini(texts_.greetings);
    for (int i = 1; i < iniparser_getnsec(ini.get()); ++i) {
        const string section = iniparser_getsecname(ini.get(), i);
        for (const string language : {"ch", "eng"}) {
            const auto value = [&](const char *key) {
                return ini_value(*ini, section + ":" + language + key);
            };
            if (value("_name").empty()) continue;
            const string clip = greeting_clip(value("_name")), content = value("_content");
            const string name = parse_clip(clip).reading;
            all_.push_back({script_part::greeting, "greetings", name, clip, name,
                            content.empty() ? name : content});
        }
    }
}

// The clips of the English lexicon; a clip that is not itself a word comes with a word it is part
// of.
void script_writer::add_english() {
    const std::vector<string> lines = lines_of(texts_.files.at("eng_dict.txt"));
    std::map<string, string> word_with;  // clip -> word
    for (size_t i = 0; i + 1 < lines.size(); i += 2) {
        for (const string &file : split(lines[i + 1], ',')) {
            if (file.empty()) continue;  // after the last comma, or between two
            const string clip = english_clip(file);
            if (parse_clip(clip).reading == lines[i]) word_with[clip] = lines[i];
            word_with.emplace(clip, lines[i]);
        }
    }
    for (const auto &[clip, word] : word_with) {
        const string name = parse_clip(clip).reading;
        const bool letter = name.size() == 1;
        const string say = name == word || letter ? name : name + " (of " + word + ")";
        const string sentence = letter ? "The letter @." : "Please say @ again.";
        all_.push_back({letter ? script_part::letter : script_part::word, "english", name, clip,
                        say, filled(sentence, name)});
    }
}

void script_writer::add_phrases() {
    std::map<string, string> written;  // phone -> characters
    for (const char *file : {"dst_temperature.txt", "pinyin_dict.txt"}) {
        for (const auto &[text, name] : entries_in(texts_, file)) {
            written.emplace(name, text);
        }
    }
    for (const string &name : phones_.phrases) {
        const clip_name phone = parse_phone(name);
        if (phone.kind == clip_kind::double_syllable) {
            add_double_syllable(phone);
            continue;
        }
        const string text = written.count(name) ? written[name] : spaced(phone);
        add_phone(script_part::phrase, name, spaced(phone) + " " + text, filled("现在是@。", text));
    }
}

void script_writer::add_double_syllable(const clip_name &phone) {
    const std::vector<string> &readers = readers_[phone.syllables.front()];
    const auto spoken = texts_.spoken.find(phone.name);
    string say = spoken != texts_.spoken.end() ? spoken->second : spaced(phone);
    for (const string &reader : readers) say += " " + reader + reader;
    const string word = readers.empty() ? spaced(phone) : readers[0] + readers[0];
    add_phone(script_part::double_syllable, phone.name, say, filled("这个@字。", word));
}

void script_writer::add_pairs() {
    for (const auto &[text, name] : entries_in(texts_, "surname_pinyin_dural.txt")) {
        add_phone(script_part::pair, clip_at(name, clip_place::first),
                  spaced(parse_phone(name)) + " " + text, filled("@二字在前。", text));
    }
}

}  // namespace

std::vector<text_character> text_characters(const voice_texts &texts, const fs::path &counts) {
    const std::map<string, string> readings = readings_in(texts);
    std::vector<text_character> all;
    double total = 0;
    for (const auto &[character, count] : read_counts(counts)) {
        const auto found = readings.find(character);
        all.push_back({character, found == readings.end() ? "" : found->second, count});
        total += count;
    }
    for (text_character &c : all) c.share /= total;
    std::stable_sort(all.begin(), all.end(),
                     [](const auto &a, const auto &b) { return a.share > b.share; });
    return all;
}

std::vector<recording> recordings_of(const voice_texts &texts, const fs::path &counts) {
    return script_writer(texts, counts).write();
}

}  // namespace tts_voice
