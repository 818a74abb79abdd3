// What the units of the engine share: records, counters and the internal functions. All of it is
// exported. What a text meets comes in the order in which it meets it.
//
// Lengths are bytes unless a name says otherwise; a clip is mono, 16000 Hz, signed 16-bit
// little-endian, without a header. Clips are owned by the segment that holds them, and by hand:
// rawData_t is a plain pair. Access to a list past its end throws std::out_of_range.
#ifndef TTS_UTIL_H
#define TTS_UTIL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "phone_index.h"
#include "tts_ext.h"

// ---- clips and their accounting (tts.cpp) ----

struct rawData_t {
    int16_t *addr = nullptr;
    int32_t length = 0;  // bytes
};

// A piece of the utterance: an English word, a Chinese character, a greeting or the leading pause.
struct split_rawData {
    std::string str;  // its text; after some rules its reading, or "error"
    int type = 0;     // 0 English word, 1 Chinese character, 2 greeting, -1 leading pause (codes.h)
    int index = 0;    // running number among the segments from 0; -1 greeting, -2 pause
    rawData_t rawData;
};

// Of all engines of the process, counted atomically.
extern int malloc_count;  // calls of my_malloc since the library was loaded
extern int free_count;    // calls of my_free; malloc_count - free_count clip buffers are alive
extern size_t total_mem;  // size figure of the lexicons that the last start-up loaded

// malloc and free, counted. A null result and a null pointer count too.
void *my_malloc(int size);
void my_free(void *p);

// Loads a whole clip file. What cannot be opened, or is not a regular file of at most INT_MAX
// bytes, gives an empty clip and an error line. An empty file gives a zero-byte buffer of length 0.
rawData_t read_raw_data(const char *fileName);

// Releases a clip by its length: a buffer of length 0 stays.
void free_rawData(rawData_t data);

// Releases the clips of all segments but greetings, by their addresses. The caller's list keeps the
// addresses.
void free_rawDatas(std::vector<split_rawData> datas);

// ---- engine record and start-up (tts.cpp) ----

enum temp_language_e { CHINESE = 0, ENGLISH = 1, JANPANESE = 2, KOREAN = 3 };

struct greeting_info {
    int greet_id = 0;       // the section's "id": for the log, requests count the sections
    char ch_name[32] = {};  // clip file names, complete with extension; empty: no clip
    char eng_name[32] = {};
};

struct greeting_config {
    int default_language = 0;
    int default_pos = 0;
    int default_num = 0;
    int default_id = 0;
    int language_tmp = 0;
};

struct greetings_info {
    int count = 0;  // greeting sections: all sections but the first
    greeting_config gConfig;
    std::vector<greeting_info> greetings;  // in file order
};

struct tts_engine_t {
    int greet_count = 0;          // as configured; at most 64 are loaded
    int temp_language = CHINESE;  // temp_language_e
    std::string engDictPath;
    std::string pinyinDictPath;
    std::string pinyinSinglePath;
    std::string pinyinDuralPath;
    std::string phoneDictPath;
    std::string pinyinRawPath;  // directories end in a slash
    std::string engRawPath;
    std::string greetingRawPath;
    std::string pinyinTempPath;
    std::string tempRawPath;
    std::unordered_map<std::string, std::string> dict_english;
    std::unordered_map<std::string, std::string> dict_pinyin;
    std::unordered_map<std::string, std::string> dict_single;
    std::unordered_map<std::string, std::string> dict_dural;
    std::unordered_map<std::string, std::string> dict_temp;
    std::vector<std::string> dict_phone;
    greeting_config default_config;
    split_rawData greetingData_ch[64];
    split_rawData greetingData_eng[64];
    phone_index index_phone;  // of dict_phone; without one, requests search the list itself
};

// Reads the greetings configuration of the fixed tree; ends the process with status 0 when there is
// none, or none that can be loaded.
greetings_info create_group();

// ---- numbers (tts.cpp) ----

// The numbers of a text, in its order: runs of digits and points, each with the minus sign before
// it. A run ends before two points; a point that ends it is left out, and so is a 9 that ends the
// text.
std::vector<std::string> getNumStrArray(const std::string &str);

// The pieces between the delimiters. Empty ones count, but not one at the end.
std::vector<std::string> stringSplit(const std::string &s, char delimiter);

// Reads digit by digit: "负", "点" and numerals. Any other byte repeats the word before it.
std::string num_str(const std::string &digit);

// Reads a run of digits with place units and takes the leading zeros off `str` itself. `mode` is
// not used. What holds other bytes or more than 33 digits is read digit by digit. Throws
// std::out_of_range for an empty run and for some runs of zeros, "000" among them.
std::string digit2hanzi(std::string &str, std::string &mode);
std::string digit2hanzi(std::string &str, const std::string &mode);

// Reads a number with its sign: the integer part with place units, the part after one point digit
// by digit. `mode` is "low", "up" or "rmb", which all read alike. Empty, with an error line, for
// another mode and for two points; empty for a single blank.
std::string an_2_cn(const std::string &digit, const std::string &mode);

// The text with each number, as getNumStrArray found them, in its Chinese reading: eleven digits
// and long numbers that no "度" follows digit by digit, others as quantities.
std::string num2cn(const std::vector<std::string> &digits, const std::string &word);

// ---- segments (tts.cpp) ----

// Cuts `s`, which comes back with A to Z lowered, into Chinese characters and runs of letters.
std::vector<split_rawData> split_ch_eng(std::string &s);

// Length of the run of letters a to z at `start`, not beyond `end`.
int count_eng_word(const std::string &s, int start, int end);

// ---- Chinese pronunciation (pinyin.cpp) ----

// The loaders, load_eng_dict and load_temp_dict among them, return -1 when the file cannot be
// opened, else a size figure of what they loaded, at most INT_MAX. A directory counts as an empty
// file; what is neither that nor a regular file of at most INT_MAX bytes counts as one that cannot
// be opened and gives an error line.

// Loads lines "key=value"; the last line of a key wins. A line without "=" is its own key and
// value.
int load_pinyin_dict(const std::string &pathStr,
                     std::unordered_map<std::string, std::string> &dict_hash);
// Loads the phone list, a name a line.
int load_all_phone(const std::string &path, std::vector<std::string> &all_phone);

// Looks the first character of `s` up in a map keyed by decimal code points; "error" when it is not
// there.
std::string hanzi2pinyin(const std::string &s,
                         const std::unordered_map<std::string, std::string> &hash);

// All places of `temp` in `words`, overlapping ones too. `temp` has at most one byte more than
// `words`.
std::vector<int> find_loc(const std::string &words, const std::string &temp);

// The reading with a tone: as it is when it has one or is a phone, a name of the phone list; else
// with "1" after the last occurrence of the vowel letter that comes first in it. Empty when it has
// no vowel, and for an empty phone list.
std::string soft_tone(const std::string &words, const std::vector<std::string> &phone_dict);

// Gives a character its syllable clip. `is_last` is 1 for the first segment, 2 for the last, 0
// elsewhere. Returns the clip's length, or 3 when the reading is not a phone (then `word.str` is
// the reading). A character without reading gets the short pause and the text "error". Throws
// std::out_of_range for an empty phone list.
int pinyin2raw(split_rawData &word, const std::unordered_map<std::string, std::string> *Pdict,
               const std::string &rawPath, const int &is_last,
               const std::vector<std::string> &phone_dict);

// Speaks a doubled character with its double clip (returns 1: both segments are done), or the first
// of two third tones in the second tone (returns 2: the first segment is done). `start` is 1 when
// the pair is the first of the text, 2 when it is the last, 0 elsewhere. Returns 0 when a reading
// is missing, 3 when the first reading is not a phone (then `words.str` is the reading), -1 when
// neither applies.
int redupli_words(split_rawData &words, split_rawData &words_next,
                  const std::unordered_map<std::string, std::string> &dict,
                  const std::string &rawPath, const std::vector<std::string> &phone_dict,
                  const int &start);

// ---- special vocabularies (pinyin.cpp, english.cpp) ----

// XORs `len` bytes with the clip key. `src` and `dst` may be the same buffer. Returns 0.
int de_encrypt(int len, const void *src, void *dst);

// Loads a scrambled phrase lexicon, a record ending with "du4". Records over 128 bytes are skipped
// and logged.
int load_temp_dict(const std::string &pathStr,
                   std::unordered_map<std::string, std::string> &dict_hash);

// Looks for the longest key of `dict` (equal lengths: the smallest by bytes) that occurs in the
// joined text. Returns its number of characters and writes its first segment to `index`; 0 when
// there is none or when it does not match whole segments.
int check_temp_exist(const std::vector<split_rawData> &words,
                     const std::unordered_map<std::string, std::string> &dict, int &index);

// Speaks the phrase of `len` segments at `index` from its own clips, which are scrambled when
// `encrypted` is not 0. Returns 1, or 3 when a clip name is not a phone. Throws std::out_of_range
// when there are more names than segments left.
int transfer_temp_word(std::vector<split_rawData> &words,
                       const std::unordered_map<std::string, std::string> &dict,
                       const std::vector<std::string> &phone_dict, const std::string &path, int len,
                       int index, int encrypted);

// Speaks 三十 or 四十 with one clip and returns its length; -1 for another pair, 0 when a reading
// is missing, 3 when the clip is not a phone. Requests do not use it.
int temp_function(split_rawData &word, const split_rawData &word_next,
                  const std::unordered_map<std::string, std::string> &dict,
                  const std::string &rawPath, const std::vector<std::string> &phone_dict);

// Surname readings of two characters and of one. Both return the clip's length, 0 when it is
// missing or empty, -1 when the text is not a listed surname. The phone list is not used.
int double_poly(split_rawData &word, split_rawData &word_next, const std::string &path,
                const std::unordered_map<std::string, std::string> &dict,
                const std::vector<std::string> &phone_dict);
int single_surname(split_rawData &word, const std::string &path,
                   const std::unordered_map<std::string, std::string> &dict,
                   const std::vector<std::string> &phone_dict);

// Loads lines in pairs, a word and the names of its clips; the first value of a word stays.
int load_eng_dict(const std::string &pathStr,
                  std::unordered_map<std::string, std::string> &dict_hash);

// Joins the clips of an English word. Returns 1 when the word is unknown and stays silent, else the
// length of the joined clip.
int engWord2raw(split_rawData &word, const std::unordered_map<std::string, std::string> *Pdict,
                const std::string &rawPath);

// Removes the digits 0 to 9. Requests do not use it.
void delete_digit(std::string &str);

// ---- WAV image (wav_util.cpp) ----

// The header, the same in memory and in the file: little-endian, no padding.
#pragma pack(push, 1)
struct WAV_RIFF {
    char FLAG[4];              // "RIFF"
    uint32_t resource_length;  // bytes of sound + 36
    char WAVE_FLAG[4];         // "WAVE"
};
struct WAVE_data {
    char data_flag[4];  // "data"
    uint32_t length;    // bytes of sound
};
struct WAV_FMT {
    WAV_RIFF riff;
    char format_flag[4];      // "fmt "
    uint32_t pcm_header_len;  // 16
    uint16_t format_tag;      // 1, PCM
    uint16_t channel_count;
    uint32_t sample_rate;  // Hz
    uint32_t bytespersec;
    uint16_t block_align;  // bytes
    uint16_t bits_per_sample;
    WAVE_data data;
};
#pragma pack(pop)
using RIFF_t = WAV_RIFF;
using Data_t = WAVE_data;
using Wav = WAV_FMT;
static_assert(sizeof(WAV_RIFF) == 12 && sizeof(WAVE_data) == 8 && sizeof(WAV_FMT) == 44, "packed");
static_assert(offsetof(WAV_FMT, format_flag) == 12 && offsetof(WAV_FMT, sample_rate) == 24 &&
                  offsetof(WAV_FMT, bits_per_sample) == 34 && offsetof(WAV_FMT, data) == 36,
              "written as it is in memory");

// Writes the image of the segments to `dst`; returns its size, or 0 when `dst_cap` bytes do not
// hold it.
int rawData2WavDram(const std::vector<split_rawData> &rawDatas, void *dst, int dst_cap);

// Writes the same image to a file.
void rawData2Wavfile(const std::vector<split_rawData> &rawDatas, const std::string &resultPath);

#endif
