// The text files of a voice: what its lexicons and lists name, and what is left of them in a voice
// that has not all the clips.
#ifndef TTS_VOICE_RECORDINGS_VOICE_TEXTS_H
#define TTS_VOICE_RECORDINGS_VOICE_TEXTS_H

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "plan/plan.h"

namespace tts_voice {

// The text files of a voice as they are in its tree, and its greetings, which iniparser reads from
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

// Key and value of the lines KEY=VALUE of one of the files; other lines are left out.
std::vector<std::pair<std::string, std::string>> entries_in(const voice_texts &texts,
                                                            const char *file);

// Writes the text files into the tree at `root`, with only what it has clips for. `recorded` are
// the files of the clips made from recordings, which may be new phones and words.
void write_texts(const voice_texts &texts, const voice_phones &phones,
                 const std::set<std::string> &recorded, const std::filesystem::path &root);

}  // namespace tts_voice

#endif
