// What a person records for a voice, the most useful recordings first.
#ifndef TTS_VOICE_RECORDINGS_SCRIPT_H
#define TTS_VOICE_RECORDINGS_SCRIPT_H

#include <cstddef>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "plan.h"

namespace tts_voice {

// The text files of a voice as they lie in its tree, and its greetings, which iniparser reads from
// a file.
struct voice_texts {
    std::map<std::string, std::string> files;  // "yinsu.txt" -> content
    std::filesystem::path greetings;
    std::map<std::string, std::string> spoken;  // double -> its syllables: "ma1_ma1" -> "ma1 ma5"
};

voice_texts texts_of_plan(const voice_plan &plan, const std::filesystem::path &data);
voice_texts texts_of_tree(const std::filesystem::path &root);

// The phones of a voice: "hao3", of which "hao3_1" and "hao3_2" are variants; phrases and double
// syllables, spoken by one clip each ("er4shi2du4", "ma1_ma1"), and names of no known form; and
// surnames and pairs ("dan1wei4_1"), which are not phones, but have their clips among them. Pauses
// are not recorded and not in here. No name is empty.
struct voice_phones {
    std::set<std::string> syllables, phrases, pairs;
};

voice_phones phones_of(const voice_texts &texts);

// Whether a recording of that name is a phone of the voice, or becomes one: a double syllable needs
// only to have a syllable to double.
bool can_be_phone(const std::string &name, const voice_phones &phones);

// A character of running text.
struct text_character {
    std::string character;
    std::string reading;  // of the lexicon; empty: it has none
    double share = 0;     // of all characters of running text, 0..1
};

// The characters of `counts`, a list "CHARACTER COUNT", the commonest first. Throws `failure` when
// nothing is counted in it.
std::vector<text_character> text_characters(const voice_texts &texts,
                                            const std::filesystem::path &counts);

// The kinds of recordings, in the order to make them.
enum class script_part {
    inside,  // a syllable inside a sentence, which can speak for the other places too
    greeting,
    double_syllable,
    letter,
    word,
    phrase,
    pair,
    rare,
    last,
    first
};

struct recording {
    script_part part;
    std::string folder;   // "phones", "english" or "greetings", below the directory of recordings
    std::string name;     // of the file, without extension
    std::string clip;     // the file it becomes in the tree
    std::string say;      // what to say
    std::string example;  // where it is said
    double share = 0;     // of the characters of running text that it speaks, 0..1
};

// All recordings that a voice can have, in the order to make them. `counts` is as above. A third
// tone before another third tone is spoken in the second: that part of its share goes to the
// syllable in the second tone.
std::vector<recording> recordings_of(const voice_texts &texts, const std::filesystem::path &counts);

// A line for each: number, the part of running text that is spoken from here on, file, what to say,
// example. `reached` is spoken without any of them, 0..1.
std::string script_as_text(const std::vector<recording> &recordings, double reached);
std::string script_as_html(const std::vector<recording> &recordings);  // one page, self-contained

struct script_options {
    std::filesystem::path data;
    bool html = false;
    size_t first = 0;  // only so many recordings; 0: all
};

std::string make_script(const script_options &options);

}  // namespace tts_voice

#endif
