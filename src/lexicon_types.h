// Short names for the types of the lexicons. Not in tts_util.h, where names that a host may have as
// well are spelled out.
#ifndef TTS_LEXICON_TYPES_H
#define TTS_LEXICON_TYPES_H

#include <string>
#include <unordered_map>
#include <vector>

using dict_map = std::unordered_map<std::string, std::string>;
using phone_list = std::vector<std::string>;

#endif
