// The grammar of the names of a voice's clips. Names are parsed here and nowhere else.
//
//   pinyinRaw/hao3           a syllable, base "hao" and tone 3, at the end of a text
//   pinyinRaw/hao3_1 hao3_2  the same syllable first in a text, and inside
//   pinyinRaw/de             a syllable in the neutral tone, which may also be written de5
//   pinyinRaw/ma1_ma1        a double syllable: one clip for the same syllable twice
//   pinyinRaw/er4shi2du4     a phrase: several syllables in one clip; a surname of two syllables is
//                            one that has only the clip for the first place, shang4guan1_1
//   pinyinRaw/pau_short greetingRaw/pau_beg    pauses
//   engRaw/hello.raw greetingRaw/welcome.raw   English and greetings, whose names may be anything
//
// A tone digit, 1 to 5, ends a syllable. So a name with two of them is never one syllable (de5hao3,
// zi5er5), and letters after a digit are a further syllable in the neutral tone (er4de). Everything
// else but _ belongs to the base, as voices may write lüe4, lve4 or m0. Names in pinyinRaw that do
// not fit, as hao3_3, _1 or hao3_1_1, can be phones all the same: each has one clip, for itself.
#ifndef TTS_COMMON_VOICE_NAMES_H
#define TTS_COMMON_VOICE_NAMES_H

#include <string>
#include <string_view>
#include <vector>

namespace tts_tools {

inline constexpr char kPhoneDirectory[] = "pinyinRaw", kEnglishDirectory[] = "engRaw",
                      kGreetingDirectory[] = "greetingRaw";
inline constexpr const char *kClipDirectories[] = {kPhoneDirectory, kEnglishDirectory,
                                                   kGreetingDirectory};
inline constexpr char kGreetingFile[] = "greetingRaw/greetings.ini";
inline constexpr char kShortPause[] = "pau_short";
inline constexpr char kLeadingPause[] = "pau_beg";  // the one pause that is not a phone

enum class clip_kind { syllable, double_syllable, phrase, pause, english, greeting, other };
enum class clip_place { first, inside, last };  // in a text; `last` also for what has no place

struct clip_name {
    clip_kind kind = clip_kind::other;
    std::string directory;               // "pinyinRaw"
    std::string name;                    // in its directory: "hao3_1", "hello.raw"
    std::string reading;                 // without place and extension: "hao3", "hello"
    std::vector<std::string> syllables;  // as written; only of the first three kinds
    clip_place place = clip_place::last;
    int tone = 0;  // of a single syllable, 5 is neutral; 0 for everything else
};

// `file` is relative to the tree. One outside the three directories is of the kind `other`.
clip_name parse_clip(const std::string &file);
clip_name parse_phone(const std::string &name);  // of a name in pinyinRaw
bool is_pause(const std::string &file);

// Of a syllable: "hao3" has tone 3, and with tone 2 it is "hao2"; 5 is written without a digit.
int tone_of(const std::string &syllable);
std::string with_tone(const std::string &syllable, int tone);

std::string clip_at(const std::string &reading, clip_place place);  // "hao3" first: "hao3_1"
std::string double_of(const std::string &reading);                  // "ma1" twice: "ma1_ma1"
std::string phone_clip(const std::string &name);                    // "pinyinRaw/hao3_1"
std::string phone_clip(const std::string &reading, clip_place place);
std::string english_clip(const std::string &name);   // "engRaw/hello.raw"
std::string greeting_clip(const std::string &name);  // "greetingRaw/welcome.raw"
std::string file_of_word(const std::string &word);   // "hello" is spoken by "hello.raw"
bool is_word(std::string_view text);  // a key of the English lexicon can only have letters a to z

// A syllable of our own lists: letters a to z, and always a digit, 5 for the neutral tone. Values
// of a lexicon write that tone without one.
struct syllable {
    std::string base;
    int tone = 0;
};

bool parse_syllable(std::string_view text, syllable &parsed);

}  // namespace tts_tools

#endif
