// How rules search the phone list: linearly, or by the index built at start-up.
#ifndef TTS_PHONES_H
#define TTS_PHONES_H

#include <string>

#include "lexicon_types.h"
#include "tts_util.h"

// Makes the index of a list; the list must not change afterwards.
phone_index index_phones(const phone_list &list);

class phone_view {
  public:
    phone_view(const phone_list &list) : list_(list) {}  // NOLINT: a list is a view of itself
    // An index that was made for another list, or before this one grew, is not used.
    phone_view(const phone_list &list, const phone_index &index);

    bool empty() const { return list_.empty(); }

    bool lists(const std::string &name) const { return find(name) != list_.size(); }

    // Whether a reading is a phone. The search ends at the first name that equals the list's last
    // one, so names behind an earlier copy of the last name do not count.
    bool is_phone(const std::string &name) const {
        const size_t place = find(name);
        return place != list_.size() && place <= first_place_of_last();
    }

    // Copies of the list's last name before the first `name`; all copies if `name` is absent.
    size_t last_names_before(const std::string &name) const;

  private:
    size_t find(const std::string &name) const;  // first place of the name, or the size of the list
    size_t first_place_of_last() const {
        return index_ != nullptr ? index_->last_name.front() : find(list_.back());
    }

    const phone_list &list_;
    const phone_index *index_ = nullptr;
};

// The rules that need the list, as a request calls them: soft_tone, pinyin2raw, redupli_words and
// transfer_temp_word, which scan, are these on a view without an index.
std::string complete_tone(const std::string &words, const phone_view &phones);
int speak_reading(split_rawData &word, const dict_map &dict, const std::string &rawPath,
                  int is_last, const phone_view &phones);
int speak_two(split_rawData &words, split_rawData &words_next, const dict_map &dict,
              const std::string &rawPath, const phone_view &phones, int start);
int speak_names(std::vector<split_rawData> &words, const dict_map &dict, const phone_view &phones,
                const std::string &path, int len, int index, int encrypted);

// The clip that pinyin2raw plays for a reading that is a phone, and the one that redupli_words
// plays for a third tone before a third tone.
std::string syllable_clip(const std::string &reading, int is_last, const phone_view &phones);
std::string third_tone_clip(const std::string &reading, int start, const phone_view &phones);

#endif
