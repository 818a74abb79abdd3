#include "plan/english_plan.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "common/failure.h"
#include "common/voice_names.h"
#include "lists.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

// Word -> names of its clips, separated by commas; "" until they are known.
using english_lexicon = std::map<string, string>;

void add_word(const string &key, const string &text, english_lexicon &lexicon, voice_plan &plan) {
    const string name = file_of_word(key);
    plan.clips.push_back({english_clip(name), language::english, position::alone, text, 0, 0});
    lexicon[key] = name;
}

void require_new_key(const row &r, const english_lexicon &lexicon) {
    const string &key = r.fields[0];
    if (!is_word(key)) {
        throw failure(r.where + ": \"" + key + "\" can never be looked up, keys are a to z only");
    }
    if (lexicon.count(key)) throw failure(r.where + ": " + key + " is listed twice");
}

void add_listed_words(const fs::path &data, english_lexicon &lexicon, voice_plan &plan) {
    for (const row &r : read_rows(data / "english_respelt.txt", 2, 16)) {
        require_new_key(r, lexicon);
        add_word(r.fields[0], joined({r.fields.begin() + 1, r.fields.end()}, " "), lexicon, plan);
    }
    for (const row &r : read_rows(data / "english_words.txt", 1, 1)) {
        require_new_key(r, lexicon);
        add_word(r.fields[0], r.fields[0], lexicon, plan);
    }
    for (const row &r : read_rows(data / "english_spelt.txt", 1, 1)) {
        require_new_key(r, lexicon);
        lexicon[r.fields[0]] = "";
    }
}

// Letters, and every run of two letters that is not a word, so that short unknown runs are spelt.
void add_letters_and_runs(english_lexicon &lexicon, voice_plan &plan) {
    for (char c = 'a'; c <= 'z'; ++c) {
        const string letter(1, c);
        if (lexicon[letter].empty()) add_word(letter, letter, lexicon, plan);
        for (char d = 'a'; d <= 'z'; ++d) lexicon.emplace(letter + d, "");
    }
}

string letter_clips(const string &word) {
    std::vector<string> clips(word.size());
    std::transform(word.begin(), word.end(), clips.begin(),
                   [](char letter) { return file_of_word(string(1, letter)); });
    return joined(clips, ",");
}

}  // namespace

void plan_english(const fs::path &data, voice_plan &plan) {
    english_lexicon lexicon;
    add_listed_words(data, lexicon, plan);
    add_letters_and_runs(lexicon, plan);
    string text;
    for (const auto &[key, clips] : lexicon) {
        text.append(key).append("\n");
        text.append(clips.empty() ? letter_clips(key) : clips).append("\n");
    }
    plan.texts["eng_dict.txt"] = text;
}

}  // namespace tts_voice
