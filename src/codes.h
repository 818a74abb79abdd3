// Numbers with a meaning that the units share. Segments, arguments and results of tts_util.h carry
// them as plain int.
#ifndef TTS_CODES_H
#define TTS_CODES_H

#include <cstddef>

constexpr size_t kCharacter = 3;  // bytes of every Chinese character

// What a segment is: split_rawData::type.
enum segment_type { kLeadingPause = -1, kEnglishWord = 0, kChineseCharacter = 1, kGreeting = 2 };

// split_rawData::index of the segments that are not numbered.
enum segment_index { kPauseIndex = -2, kGreetingIndex = -1 };

// Where a segment or a pair is in the text: the rules' `is_last` and `start`.
enum text_position { kInside = 0, kFirst = 1, kLast = 2 };

// What rules return; the comment of each in tts_util.h says which. Where a rule returns the bytes
// of its clip, a code shares its number with a length.
enum rule_result {
    kNotApplied = -1,    // the rule has nothing to say about this text
    kNothingFound = 0,   // no reading, or no sound
    kWordUnknown = 1,    // the English rule: silent
    kPhraseSpoken = 1,   // the phrase rule
    kPairSpoken = 1,     // the pair rule: both segments are done
    kFirstSpoken = 2,    // the pair rule: the first segment is done
    kPhoneUnlisted = 3,  // the reading is not a phone
};

#endif
