// The rules of pronunciation as a request calls them. The functions of the same jobs in tts_util.h
// (soft_tone, pinyin2raw, redupli_words, transfer_temp_word, double_poly, single_surname,
// engWord2raw) are these on a list without an index, for a caller that asks for no names.
#ifndef TTS_RULES_H
#define TTS_RULES_H

#include <string>
#include <vector>

#include "lexicon_types.h"
#include "phone_index.h"
#include "tts_util.h"

// What the rules of a request share.
struct rule_aids {
    phone_view phones;
    std::vector<std::string> *played = nullptr;  // gets the names of the clips; null: nobody asks
};

// Loads a clip for a rule.
rawData_t load_clip(const std::string &directory, const std::string &name, const rule_aids &aids);

int surname_pair_rule(split_rawData &word, split_rawData &word_next, const std::string &path,
                      const dict_map &dict, const rule_aids &aids);
int surname_rule(split_rawData &word, const std::string &path, const dict_map &dict,
                 const rule_aids &aids);
int phrase_rule(std::vector<split_rawData> &words, const dict_map &dict, const std::string &path,
                int len, int index, int encrypted, const rule_aids &aids);
int pair_rule(split_rawData &words, split_rawData &words_next, const dict_map &dict,
              const std::string &rawPath, int start, const rule_aids &aids);
int syllable_rule(split_rawData &word, const dict_map &dict, const std::string &rawPath,
                  int is_last, const rule_aids &aids);
int english_rule(split_rawData &word, const dict_map &dict, const std::string &rawPath,
                 const rule_aids &aids);

std::string complete_tone(const std::string &words, const phone_view &phones);

// The clip that the syllable rule plays for a reading that is a phone.
std::string syllable_clip(const std::string &reading, int is_last, const phone_view &phones);

#endif
