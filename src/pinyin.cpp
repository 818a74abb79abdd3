// Chinese pronunciation: the lexicons and the phone list, then the rules. A request tries surnames,
// phrases, pairs and syllables, in this order.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "clip_guard.h"
#include "codes.h"
#include "load_size.h"
#include "rules.h"
#include "text_file.h"
#include "tts_log.h"
#include "tts_util.h"

// ==== lexicons and phone list ====

constexpr size_t kEntryOverhead = 48;  // what an entry takes beyond its text, for the size figure

// Stores a line "key=value". A line without "=" is its own key and its own value; the last line of
// a key wins.
static void store_entry(std::string_view line, dict_map &dict_hash) {
    const size_t equals = line.find('=');
    // Without "=" the value starts at npos + 1, at the front.
    const std::string_view value = line.substr(equals + 1);
    const auto [entry, is_new] = dict_hash.try_emplace(std::string(line.substr(0, equals)), value);
    if (!is_new) entry->second = value;
}

static const std::string *find_value(const dict_map &dict, const std::string &key) {
    const auto entry = dict.find(key);
    return entry == dict.end() ? nullptr : &entry->second;
}

int load_pinyin_dict(const std::string &pathStr, dict_map &dict_hash) {
    const text_file file(pathStr);
    if (!file.opened()) return -1;
    // Growing from one bucket costs as much as filling. A longer file may be the same keys again.
    constexpr size_t kMostReserved = 65536;
    dict_hash.reserve(dict_hash.size() + std::min(file.line_count(), kMostReserved));
    load_size pinyin_dict_size;
    file.for_each_line([&](std::string_view line) {
        store_entry(line, dict_hash);
        pinyin_dict_size.add(line.size() + kEntryOverhead);
    });
    return pinyin_dict_size.as_int();
}

int load_all_phone(const std::string &path, phone_list &all_phone) {
    const text_file file(path);
    if (!file.opened()) return -1;
    all_phone.reserve(all_phone.size() + file.line_count());
    load_size all_phone_size;
    file.for_each_line([&](std::string_view line) {
        all_phone_size.add(line.size());
        all_phone.emplace_back(line);
    });
    return all_phone_size.as_int();
}

// The key that the phrase clips of a voice are scrambled with; it belongs to the installed clips.
constexpr unsigned char kClipKey[16] = {0x5a, 0x17, 0xc3, 0x09, 0xe2, 0x4b, 0x7d, 0x90,
                                        0x31, 0xaf, 0x6c, 0xd8, 0x04, 0xb5, 0xe9, 0x72};

int de_encrypt(int len, const void *src, void *dst) {
    if (len <= 0) return 0;
    const auto bytes = static_cast<size_t>(len);
    memmove(dst, src, bytes);
    auto *plain = static_cast<unsigned char *>(dst);
    for (size_t i = 0; i < bytes; ++i) plain[i] ^= kClipKey[i % sizeof(kClipKey)];
    return 0;
}

constexpr size_t kLongestRecord = 128;  // bytes of a scrambled lexicon's record
constexpr const char *kRecordEnd = "du4";

int load_temp_dict(const std::string &pathStr, dict_map &dict_hash) {
    text_file file(pathStr);
    if (!file.opened()) {
        TTS_INFO("open %s failed. \n", pathStr.c_str());
        return -1;
    }
    std::string &text = file.content();
    de_encrypt(static_cast<int>(text.size()), text.data(), text.data());
    text.resize(std::min(text.find('\0'), text.size()));

    load_size size;
    for (size_t start = 0, end = 0; start < text.size(); start = end + 1) {
        end = text.find(kRecordEnd, start);
        if (end == std::string::npos) break;
        end += strlen(kRecordEnd);  // one separator byte follows
        const std::string record = text.substr(start, end - start);
        if (record.size() > kLongestRecord) {
            TTS_ERROR("ERROR! %s: record of %zu bytes, at most %zu\n", pathStr.c_str(),
                      record.size(), kLongestRecord);
            continue;
        }
        store_entry(record, dict_hash);
        size.add(record.size() + kEntryOverhead);
    }
    return size.as_int();
}

// ==== what the rules share ====

rawData_t load_clip(const std::string &directory, const std::string &name, const rule_aids &aids) {
    if (aids.played != nullptr) aids.played->push_back(name.c_str());  // as it is opened
    return read_raw_data((directory + name).c_str());
}

// ==== temperature phrases ====

static std::string joined_text(const std::vector<split_rawData> &words, int first, int count) {
    std::string text;
    for (int i = first; i < first + count; ++i) text += words.at(static_cast<size_t>(i)).str;
    return text;
}

namespace {

// Whether keys can occur in a text, judged by their last character: those of a lexicon mostly end
// with the same one (度), which most texts do not contain.
class last_character_filter {
  public:
    explicit last_character_filter(const std::string &text) : text_(text) {}
    bool passes(std::string_view key) {
        key.remove_prefix(key.size() - std::min(key.size(), kCharacter));
        if (key != last_) {
            last_ = key;
            occurs_ = text_.find(key) != std::string::npos;
        }
        return occurs_;
    }

  private:
    const std::string &text_;
    std::string_view last_;
    bool occurs_ = true;  // the empty text after an empty key does
};

}  // namespace

// The longest key that occurs in the text, among equally long ones the smallest; null when none
// does. One pass over the map, so the map's own order does not matter.
static const std::string *longest_key_in(const std::string &text, const dict_map &dict) {
    const std::string *best = nullptr;
    last_character_filter filter(text);
    for (const auto &entry : dict) {
        const std::string &key = entry.first;
        if (best != nullptr &&
            (key.size() < best->size() || (key.size() == best->size() && key > *best))) {
            continue;
        }
        if (filter.passes(key) && text.find(key) != std::string::npos) best = &key;
    }
    return best;
}

int check_temp_exist(const std::vector<split_rawData> &words, const dict_map &dict, int &index) {
    TTS_TRACE(318);
    const int count = static_cast<int>(words.size());
    const std::string *key = longest_key_in(joined_text(words, 0, count), dict);
    if (key == nullptr) return 0;
    const int len = static_cast<int>(key->size() / kCharacter);
    for (int k = 0; k <= count - len; ++k) {
        if (joined_text(words, k, len) == *key) {
            index = k;
            return len;
        }
    }
    return 0;
}

// The plain samples of a scrambled clip, in a buffer of their own.
static rawData_t descrambled(rawData_t scrambled) {
    int16_t *const plain = clip_buffer(scrambled.length);
    if (plain == nullptr) {
        TTS_ERROR("ERROR! no memory to descramble a clip of %d bytes\n", scrambled.length);
        return {};
    }
    de_encrypt(scrambled.length, scrambled.addr, plain);
    return {plain, scrambled.length};
}

int phrase_rule(std::vector<split_rawData> &words, const dict_map &dict, const std::string &path,
                int len, int index, int encrypted, const rule_aids &aids) {
    TTS_TRACE_AS("transfer_temp_word", 352);
    const std::string *value = find_value(dict, joined_text(words, index, len));
    const std::vector<std::string> names = stringSplit(value != nullptr ? *value : "", ' ');
    for (const std::string &name : names) {
        if (!aids.phones.empty() && !aids.phones.is_phone(name)) return kPhoneUnlisted;
    }
    int next = index;
    for (const std::string &name : names) {
        clip_guard loaded(load_clip(path, name, aids));
        clip_guard plain(encrypted != 0 ? descrambled(loaded.get()) : rawData_t{});
        split_rawData &word = words.at(static_cast<size_t>(next++));
        if (encrypted != 0) {
            word.rawData = plain.release();
            free_rawData(loaded.release());
        } else {
            word.rawData = loaded.release();
        }
    }
    // The rest of the phrase is silent: its clips already speak it.
    for (; next < index + len; ++next) words.at(static_cast<size_t>(next)).rawData.length = 0;
    TTS_TRACE_AS("transfer_temp_word", 398);
    return kPhraseSpoken;
}

int transfer_temp_word(std::vector<split_rawData> &words, const dict_map &dict,
                       const phone_list &phone_dict, const std::string &path, int len, int index,
                       int encrypted) {
    return phrase_rule(words, dict, path, len, index, encrypted, {phone_view(phone_dict)});
}

// ==== surnames ====

// A dedicated recording of a surname has its name with this suffix.
constexpr const char *kSurnameSuffix = "_1";

// Reports a surname in the log and on standard output.
static void report_surname(const std::string &message) {
    TTS_INFO("%s", message.c_str());
    fputs(message.c_str(), stdout);
}

int surname_pair_rule(split_rawData &word, split_rawData &word_next, const std::string &path,
                      const dict_map &dict, const rule_aids &aids) {
    TTS_TRACE_AS("double_poly", 233);
    const std::string splited_str = word.str + word_next.str;
    TTS_TRACEF_AS("double_poly", 236, "splited_str = %s \n", splited_str.c_str());
    const std::string *value = find_value(dict, splited_str);
    if (value == nullptr) {
        TTS_TRACE_AS("double_poly", 240);
        return kNotApplied;
    }
    const std::string pinyin = *value + kSurnameSuffix;
    word.rawData = load_clip(path, pinyin, aids);
    word_next.rawData.length = 0;             // the one clip speaks both characters
    const char *const name = pinyin.c_str();  // as it is opened, without what follows a NUL
    report_surname("Compound surname : words=" + splited_str + ", pinyin=" + name + " \n");
    return word.rawData.length;
}

int double_poly(split_rawData &word, split_rawData &word_next, const std::string &path,
                const dict_map &dict, const phone_list &phone_dict) {
    return surname_pair_rule(word, word_next, path, dict, {phone_view(phone_dict)});
}

int surname_rule(split_rawData &word, const std::string &path, const dict_map &dict,
                 const rule_aids &aids) {
    TTS_TRACE_AS("single_surname", 263);
    const std::string *value = find_value(dict, word.str);
    if (value == nullptr) {
        TTS_TRACE_AS("single_surname", 267);
        return kNotApplied;
    }
    const std::string pinyin = *value + kSurnameSuffix;
    word.rawData = load_clip(path, pinyin, aids);
    if (word.rawData.length == 0) {
        TTS_TRACE_AS("single_surname", 278);
        if (aids.played != nullptr) aids.played->pop_back();
        word.rawData = load_clip(path, *value, aids);
    }
    const char *const name = pinyin.c_str();  // as it is opened, without what follows a NUL
    report_surname("Single surname of polyphonic found : " + word.str + " " + name + "\n");
    return word.rawData.length;
}

int single_surname(split_rawData &word, const std::string &path, const dict_map &dict,
                   const phone_list &phone_dict) {
    return surname_rule(word, path, dict, {phone_view(phone_dict)});
}

// ==== tone completion ====

std::vector<int> find_loc(const std::string &words, const std::string &temp) {
    TTS_TRACE(28);
    std::vector<int> loc;
    for (size_t i = 0; i < words.size() + 1 - temp.size(); ++i) {
        if (words.substr(i, temp.size()) == temp) loc.push_back(static_cast<int>(i));
    }
    return loc;
}

// The reading with "1" after the last occurrence of the vowel letter that comes first; empty
// without a vowel.
static std::string mark_first_vowel(const std::string &words) {
    const size_t vowel = words.find_first_of("aoeiuv");
    if (vowel == std::string::npos) return "";
    const auto last_loc = static_cast<size_t>(find_loc(words, words.substr(vowel, 1)).back()) + 1;
    return words.substr(0, last_loc) + "1" + words.substr(last_loc);
}

std::string complete_tone(const std::string &words, const phone_view &phones) {
    TTS_TRACE_AS("soft_tone", 43);
    const auto done = [](const std::string &word_out) {
        TTS_TRACEF_AS("soft_tone", 107, "words=%s \n", word_out.c_str());
        return word_out;
    };
    for (const char c : words) {
        TTS_TRACE_AS("soft_tone", 48);
        if (c >= '1' && c <= '4') return done(words);
    }
    TTS_TRACE_AS("soft_tone", 57);
    std::string word_out;
    if (phones.empty()) return done(word_out);
    // Every copy of the last name that the search passes marks the vowel anew.
    for (size_t n = phones.last_names_before(words); n > 0; --n) word_out = mark_first_vowel(words);
    return done(phones.lists(words) ? words : word_out);
}

std::string soft_tone(const std::string &words, const phone_list &phone_dict) {
    return complete_tone(words, phone_view(phone_dict));
}

// ==== pairs ====

static std::string in_second_tone(std::string reading) {
    std::replace(reading.begin(), reading.end(), '3', '2');
    return reading;
}

static bool has_third_tone(const std::string &reading) {
    return reading.find('3') != std::string::npos;
}

// The clip for a third tone before a third tone, whose reading is a phone.
static std::string third_tone_clip(const std::string &reading, int start,
                                   const phone_view &phones) {
    const std::string word = in_second_tone(reading);
    std::string word_new = word + (start == kFirst ? "_1" : "_2");
    if (phones.lists(word_new)) return word_new;
    return phones.lists(word) ? word : reading;
}

int pair_rule(split_rawData &words, split_rawData &words_next, const dict_map &dict,
              const std::string &rawPath, int start, const rule_aids &aids) {
    TTS_TRACE_AS("redupli_words", 578);
    const std::string *reading = find_value(dict, words.str);
    const std::string *word_next = find_value(dict, words_next.str);
    if (reading == nullptr || word_next == nullptr) return kNothingFound;

    std::string origin_word = *reading;
    if (words.str == words_next.str) {
        TTS_TRACE_AS("redupli_words", 595);
        origin_word = complete_tone(*reading, aids.phones);
        const std::string double_name = origin_word + "_" + origin_word;
        if (aids.phones.lists(double_name)) {
            TTS_TRACE_AS("redupli_words", 601);
            words.rawData = load_clip(rawPath, double_name, aids);
            words_next.rawData = {};
            return kPairSpoken;
        }
    }
    if (!has_third_tone(origin_word) || !has_third_tone(*word_next)) return kNotApplied;
    if (aids.phones.empty()) {
        words.rawData = read_raw_data("");  // nothing is listed that could be played
        return kFirstSpoken;
    }
    if (!aids.phones.is_phone(origin_word)) {
        words.str = origin_word;
        return kPhoneUnlisted;
    }
    words.rawData = load_clip(rawPath, third_tone_clip(origin_word, start, aids.phones), aids);
    return kFirstSpoken;
}

int redupli_words(split_rawData &words, split_rawData &words_next, const dict_map &dict,
                  const std::string &rawPath, const phone_list &phone_dict, const int &start) {
    return pair_rule(words, words_next, dict, rawPath, start, {phone_view(phone_dict)});
}

// ==== syllables ====

std::string syllable_clip(const std::string &reading, int is_last, const phone_view &phones) {
    if (is_last == kLast) return reading;
    std::string variant;
    if (is_last == kInside) variant = reading + "_2";
    if (is_last == kFirst) variant = reading + "_1";
    return phones.lists(variant) ? variant : reading;
}

// The reading of a character for pinyin2raw, which answers "error" for one it does not know.
static std::string look_up_reading(const std::string &text, const dict_map &dict) {
    const std::string *value = find_value(dict, text);
    TTS_TRACE_AS("pinyin2raw", value != nullptr ? 507 : 503);
    return value != nullptr ? *value : "error";
}

static int hold_syllable(split_rawData &word, rawData_t clip) {
    word.rawData = clip;
    if (word.rawData.length > 0) TTS_INFO("pinyin2Raw words str = %s \n", word.str.c_str());
    return word.rawData.length;
}

int syllable_rule(split_rawData &word, const dict_map &dict, const std::string &rawPath,
                  int is_last, const rule_aids &aids) {
    TTS_TRACE_AS("pinyin2raw", 472);
    const std::string tst = "error";
    std::string word_str = look_up_reading(word.str, dict);
    if (word_str == tst) {
        TTS_TRACE_AS("pinyin2raw", 515);
        word.str = tst;
        return hold_syllable(word, load_clip(rawPath, "pau_short", aids));
    }
    TTS_TRACE_AS("pinyin2raw", 522);
    word_str = complete_tone(word_str, aids.phones);
    std::string pinyingPath;
    if (!aids.phones.empty()) {
        if (!aids.phones.is_phone(word_str)) {
            TTS_TRACE_AS("pinyin2raw", 533);
            word.str = word_str;
            return kPhoneUnlisted;
        }
        TTS_TRACE_AS("pinyin2raw", 528);
        pinyingPath = rawPath + syllable_clip(word_str, is_last, aids.phones);
    }
    const std::string out = pinyingPath.substr(rawPath.size());  // throws without any phone
    printf("word = %s pinyin = %s out = %s\n", word.str.c_str(), word_str.c_str(), out.c_str());
    return hold_syllable(word, load_clip(rawPath, out, aids));
}

int pinyin2raw(split_rawData &word, const dict_map *Pdict, const std::string &rawPath,
               const int &is_last, const phone_list &phone_dict) {
    return syllable_rule(word, *Pdict, rawPath, is_last, {phone_view(phone_dict)});
}

// ==== for hosts that call the functions themselves ====

std::string hanzi2pinyin(const std::string &s, const dict_map &hash) {
    const auto byte = [&s](size_t i) {
        return static_cast<unsigned>(static_cast<unsigned char>(s.at(i)));
    };
    const unsigned b0 = byte(0);
    const unsigned b1 = byte(1);
    const unsigned b2 = byte(2);
    const unsigned high = (b0 * 16 + ((b1 >> 2U) & 15U)) % 256;
    const unsigned low = (b1 * 64 + (b2 & 63U)) % 256;
    const int result = static_cast<int>(high * 256 + low);
    TTS_INFO(" result = %d \n", result);
    const std::string *value = find_value(hash, std::to_string(result));
    if (value != nullptr) return *value;
    TTS_INFO("Not Found words in pinyin_dict! \n");
    return "error";
}

int temp_function(split_rawData &word, const split_rawData &word_next, const dict_map &dict,
                  const std::string &rawPath, const phone_list &phone_dict) {
    const std::string *reading = find_value(dict, word.str);
    const std::string *reading_next = find_value(dict, word_next.str);
    if (reading == nullptr || reading_next == nullptr) {
        const std::string &missing = reading == nullptr ? word.str : word_next.str;
        printf("have not find %s in the phone dict \n", missing.c_str());
        return kNothingFound;
    }
    const std::string text = word.str + word_next.str;
    if (text != "三十" && text != "四十") return kNotApplied;
    const std::string name = *reading + "_" + *reading_next;
    if (!phone_view(phone_dict).lists(name)) return kPhoneUnlisted;
    word.str = name;
    word.rawData = read_raw_data((rawPath + name).c_str());
    return word.rawData.length;
}
