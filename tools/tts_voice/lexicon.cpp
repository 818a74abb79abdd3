#include "lexicon.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <map>
#include <set>
#include <vector>

#include "common/files.h"
#include "common/voice_names.h"
#include "lists.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;
using std::string_view;

constexpr char32_t kFirstUnified = 0x4E00, kLastUnified = 0x9FFF;
constexpr char32_t kIdeographicZero = 0x3007;

// Neutral readings of everyday words. The sources have more, from radicals and rare
// words, whose characters are better read with their tone.
const std::set<string> kNeutralBases = {"a",  "ba",  "bei", "de",  "la", "le", "lei",
                                        "li", "lie", "lo",  "lou", "ma", "me", "men",
                                        "ne", "shi", "wa",  "ya",  "zhe"};

struct marked_vowel {
    string_view marked;
    char plain;
    int tone;
};

constexpr marked_vowel kMarkedVowels[] = {
    {"ā", 'a', 1}, {"á", 'a', 2}, {"ǎ", 'a', 3}, {"à", 'a', 4}, {"ē", 'e', 1},
    {"é", 'e', 2}, {"ě", 'e', 3}, {"è", 'e', 4}, {"ī", 'i', 1}, {"í", 'i', 2},
    {"ǐ", 'i', 3}, {"ì", 'i', 4}, {"ō", 'o', 1}, {"ó", 'o', 2}, {"ǒ", 'o', 3},
    {"ò", 'o', 4}, {"ū", 'u', 1}, {"ú", 'u', 2}, {"ǔ", 'u', 3}, {"ù", 'u', 4},
    {"ǖ", 'v', 1}, {"ǘ", 'v', 2}, {"ǚ", 'v', 3}, {"ǜ", 'v', 4}, {"ü", 'v', 0},
};

// A reading such as "nǚ" as base "nv" and tone 3; tone 0 is the neutral tone. False for what no
// syllable clip can speak: bare consonants (m, ng) and ê.
bool parse_marked(const string &text, syllable &parsed) {
    parsed = {};
    for (const string &character : characters_of(text, "reading " + text)) {
        if (character.size() == 1 && character[0] >= 'a' && character[0] <= 'z') {
            parsed.base += character;
            continue;
        }
        const auto vowel =
            std::find_if(std::begin(kMarkedVowels), std::end(kMarkedVowels),
                         [&](const marked_vowel &v) { return v.marked == character; });
        if (vowel == std::end(kMarkedVowels)) return false;
        parsed.base += vowel->plain;
        if (vowel->tone != 0) parsed.tone = vowel->tone;
    }
    return parsed.base.find_first_of("aeiouv") != string::npos;
}

string written(const syllable &s) {
    return s.tone == 0 ? s.base : s.base + std::to_string(s.tone);
}

bool same(const syllable &a, const syllable &b) {
    return a.base == b.base && a.tone == b.tone;
}

struct counted_reading {
    syllable reading;
    long count;
};

// The readings of one character in Unihan. Each list keeps the order of the source.
struct character_record {
    std::vector<syllable> mandarin;          // kMandarin
    std::vector<syllable> common_table;      // kTGHZ2013: the 8,105 characters in general use
    std::vector<syllable> dictionary;        // kXHC1983
    std::vector<counted_reading> frequency;  // kHanyuPinlu
    bool in_common_table = false;
};

// "038.110:cháng 466.110:zhǎng" gives the part of each word after its colon, where it has one.
std::vector<syllable> parse_readings(const string &value) {
    std::vector<syllable> readings;
    for (const string &word : split(value, ' ')) {
        syllable parsed;
        const size_t colon = word.find(':');
        const string reading = colon == string::npos ? word : word.substr(colon + 1);
        if (!parse_marked(reading, parsed)) continue;
        const bool known = std::any_of(readings.begin(), readings.end(),
                                       [&](const syllable &s) { return same(s, parsed); });
        if (!known) readings.push_back(parsed);
    }
    return readings;
}

// "zhǎng(1879) cháng(1179)"
std::vector<counted_reading> parse_counts(const string &value) {
    std::vector<counted_reading> counts;
    for (const string &word : split(value, ' ')) {
        counted_reading counted{};
        const size_t open = word.find('(');
        if (open == string::npos || !parse_marked(word.substr(0, open), counted.reading)) continue;
        std::from_chars(word.data() + open + 1, word.data() + word.size(), counted.count);
        counts.push_back(counted);
    }
    return counts;
}

std::map<char32_t, character_record> read_unihan(const std::filesystem::path &path) {
    std::map<char32_t, character_record> records;
    for (const string &line : lines_of(read_argument(path))) {
        const std::vector<string> fields = split(line, '\t');
        if (fields.size() != 3 || fields[0].rfind("U+", 0) != 0) continue;
        uint32_t code_point = 0;
        std::from_chars(fields[0].data() + 2, fields[0].data() + fields[0].size(), code_point, 16);
        character_record &record = records[code_point];
        if (fields[1] == "kMandarin") record.mandarin = parse_readings(fields[2]);
        if (fields[1] == "kXHC1983") record.dictionary = parse_readings(fields[2]);
        if (fields[1] == "kHanyuPinlu") record.frequency = parse_counts(fields[2]);
        if (fields[1] == "kTGHZ2013") {
            record.common_table = parse_readings(fields[2]);
            record.in_common_table = true;
        }
    }
    if (records.empty()) throw failure(path.string() + ": no Unihan readings in it");
    return records;
}

string to_utf8(char32_t c) {  // of three bytes
    const auto byte = [](char32_t bits) { return static_cast<char>(bits); };
    return {byte(0xE0 | c >> 12), byte(0x80 | (c >> 6 & 63)), byte(0x80 | (c & 63))};
}

// Weight of a toneless reading of one character, by (character, base).
using weight_map = std::map<std::pair<string, string>, long>;

weight_map read_weights(const std::filesystem::path &path) {
    weight_map weights;
    for (const string &line : lines_of(read_argument(path))) {
        const std::vector<string> fields = split(line, '\t');
        if (fields.size() != 3 || characters_of(fields[0], path.string()).size() != 1) continue;
        long weight = 0;
        std::from_chars(fields[2].data(), fields[2].data() + fields[2].size(), weight);
        // This source writes lue and nue for what is lve and nve everywhere else.
        string base = fields[1];
        if (base == "lue" || base == "nue") base[1] = 'v';
        weights[{fields[0], base}] = weight;
    }
    if (weights.empty()) throw failure(path.string() + ": no one-character weights in it");
    return weights;
}

std::vector<syllable> candidates_for(const character_record &record) {
    std::vector<syllable> candidates = record.common_table;
    if (candidates.empty()) candidates = record.dictionary;
    if (candidates.empty()) candidates = record.mandarin;
    for (const syllable &reading : record.dictionary) {
        const bool known = std::any_of(candidates.begin(), candidates.end(),
                                       [&](const syllable &s) { return same(s, reading); });
        if (reading.tone == 0 && !known) candidates.push_back(reading);
    }
    return candidates;
}

bool is_rare_neutral(const syllable &s) {
    return s.tone == 0 && !kNeutralBases.count(s.base);
}

// Some rare characters have no toned reading in any source: they get the first tone.
void replace_rare_neutrals(std::vector<syllable> &candidates) {
    std::vector<syllable> kept;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(kept),
                 [](const syllable &s) { return !is_rare_neutral(s); });
    if (kept.empty() && !candidates.empty()) kept.push_back({candidates.front().base, 1});
    candidates = kept;
}

void keep_most_weighty_base(std::vector<syllable> &candidates, const string &character,
                            const weight_map &weights) {
    const auto weight_of = [&](const syllable &s) {
        const auto found = weights.find({character, s.base});
        return found == weights.end() ? -1 : found->second;
    };
    long greatest = std::numeric_limits<long>::min();  // a source may count below 0
    for (const syllable &s : candidates) greatest = std::max(greatest, weight_of(s));
    const auto lighter = [&](const syllable &s) { return weight_of(s) < greatest; };
    candidates.erase(std::remove_if(candidates.begin(), candidates.end(), lighter),
                     candidates.end());
}

// Among readings that share their base, the one counted most often in running text; where nothing
// was counted, the reading that Unihan calls customary; else the first.
syllable most_frequent(const std::vector<syllable> &candidates, const character_record &record) {
    const syllable *best = nullptr;
    long best_count = 0;
    for (const counted_reading &counted : record.frequency) {
        for (const syllable &candidate : candidates) {
            if (same(candidate, counted.reading) && counted.count > best_count) {
                best = &candidate;
                best_count = counted.count;
            }
        }
    }
    if (best) return *best;
    for (const syllable &candidate : candidates) {
        if (!record.mandarin.empty() && same(candidate, record.mandarin.front())) return candidate;
    }
    return candidates.front();
}

// The reading, or "" when there is no syllable for the character.
string reading_of(const string &character, const character_record &record,
                  const weight_map &weights) {
    std::vector<syllable> candidates = candidates_for(record);
    replace_rare_neutrals(candidates);
    if (candidates.empty()) return "";
    keep_most_weighty_base(candidates, character, weights);
    return written(most_frequent(candidates, record));
}

std::map<string, string> read_overrides(const std::filesystem::path &path) {
    std::map<string, string> overrides;
    for (const row &r : read_rows(path, 2, 2)) {
        syllable parsed;
        const string &reading = r.fields[1];
        if (characters_of(r.fields[0], r.where).size() != 1) {
            throw failure(r.where + ": \"" + r.fields[0] + "\" is not one character");
        }
        if (reading != "-" && !kNeutralBases.count(reading) &&
            (!parse_syllable(reading, parsed) || parsed.tone == 5)) {
            throw failure(r.where + ": \"" + reading +
                          "\" is not a reading: a syllable with tone 1 to 4"
                          ", a neutral syllable without digit, or - to leave the character out");
        }
        if (!overrides.emplace(r.fields[0], reading).second) {
            throw failure(r.where + ": " + r.fields[0] + " is in the list twice");
        }
    }
    return overrides;
}

// In UTF-8. The engine cuts longer characters short.
bool has_three_bytes(char32_t c) {
    const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
    return c >= 0x800 && c <= 0xFFFF && !surrogate;
}

bool is_shipped(char32_t c, const character_record &record) {
    return (c >= kFirstUnified && c <= kLastUnified) || c == kIdeographicZero ||
           (record.in_common_table && has_three_bytes(c));
}

}  // namespace

string make_lexicon(const lexicon_sources &sources) {
    std::map<char32_t, character_record> records = read_unihan(sources.unihan_readings);
    records[kIdeographicZero];  // has no readings in Unihan, an override gives it one
    const weight_map weights = read_weights(sources.pinyin_weights);
    const std::map<string, string> overrides = read_overrides(sources.overrides);
    string text;
    for (const auto &[code_point, record] : records) {
        if (!is_shipped(code_point, record)) continue;
        const string character = to_utf8(code_point);
        const auto override = overrides.find(character);
        const string reading =
            override != overrides.end() ? override->second : reading_of(character, record, weights);
        if (!reading.empty() && reading != "-")
            text.append(character).append("=").append(reading).append("\n");
    }
    return text;
}

}  // namespace tts_voice
