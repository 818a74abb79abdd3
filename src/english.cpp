// English words: the lexicon and the joining of a word's clips.
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

#include "clip_guard.h"
#include "codes.h"
#include "load_size.h"
#include "rules.h"
#include "text_file.h"
#include "tts_log.h"
#include "tts_util.h"

int load_eng_dict(const std::string &pathStr, dict_map &dict_hash) {
    const text_file file(pathStr);
    if (!file.opened()) return -1;
    constexpr size_t kLineOverhead = 24;  // the string object of a line
    load_size cnt;
    std::string key;
    bool key_flg = true;
    file.for_each_line([&](std::string_view line) {
        cnt.add(line.size() + kLineOverhead);
        if (key_flg) {
            key = line;
        } else {
            dict_hash.emplace(key, line);  // the first value of a key stays
        }
        key_flg = !key_flg;
    });
    return cnt.as_int();
}

// The clips of a word in speaking order; those without sound are left out and logged.
static std::vector<clip_guard> load_pieces(const std::vector<std::string> &pieces,
                                           const std::string &rawPath, const rule_aids &aids) {
    std::vector<clip_guard> clips;
    for (const std::string &piece : pieces) {
        clip_guard clip(load_clip(rawPath, piece, aids));
        if (clip.get().length == 0) {
            TTS_INFO("read %s failed\n", piece.c_str());
            clip.release();  // as free_rawData: the buffer of an empty file stays
            if (aids.played != nullptr) aids.played->pop_back();
            continue;
        }
        clips.push_back(std::move(clip));
    }
    return clips;
}

int english_rule(split_rawData &word, const dict_map &dict, const std::string &rawPath,
                 const rule_aids &aids) {
    TTS_TRACE_AS("engWord2raw", 62);
    const auto entry = dict.find(word.str);
    if (entry == dict.end()) {
        TTS_INFO("not found word: %s.\n", word.str.c_str());
        printf("not found word: %s.\n", word.str.c_str());
        word.rawData.length = 0;
        return kWordUnknown;
    }
    std::vector<clip_guard> clips = load_pieces(stringSplit(entry->second, ','), rawPath, aids);
    int64_t total = 0;
    for (const clip_guard &clip : clips) total += clip.get().length;
    int16_t *const joined = total > INT_MAX ? nullptr : clip_buffer(static_cast<int>(total));
    if (joined == nullptr) {  // a word that no buffer can hold is a word without sound
        TTS_ERROR("ERROR! no memory for word %s\n", word.str.c_str());
        word.rawData = {};
        return kNothingFound;
    }
    char *to = reinterpret_cast<char *>(joined);
    for (clip_guard &clip : clips) {
        const rawData_t part = clip.release();
        memcpy(to, part.addr, static_cast<size_t>(part.length));
        to += part.length;
        free_rawData(part);
    }
    TTS_TRACE_AS("engWord2raw", 105);
    word.rawData = {joined, static_cast<int32_t>(total)};
    return word.rawData.length;
}

int engWord2raw(split_rawData &word, const dict_map *Pdict, const std::string &rawPath) {
    const phone_list no_phones;
    return english_rule(word, *Pdict, rawPath, {phone_view(no_phones)});
}

void delete_digit(std::string &str) {
    str.erase(std::remove_if(str.begin(), str.end(), [](char c) { return c >= '0' && c <= '9'; }),
              str.end());
}
