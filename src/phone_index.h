// The phone list as rules search it: from the front, as its file has it, or by a hash index that
// start-up makes. A phone is a name in that list.
//
// The list is an open member of the engine record and may be changed after start-up. Answers are
// always those of a search from the front: what the index says is used only where the list itself
// confirms it, or where the list is still the one that the index was made for.
#ifndef TTS_PHONE_INDEX_H
#define TTS_PHONE_INDEX_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

// A hash table of places in a phone list, probed linearly.
struct phone_index {
    static constexpr uint32_t kFree = UINT32_MAX;

    const std::string *list = nullptr;  // the elements of the list that it was made for
    size_t size = 0;                    // their number
    std::string names;                  // all of them, each with a line feed
    std::vector<uint32_t> slots;  // a place in the list or kFree; their number is a power of 2
};

class phone_view {
  public:
    explicit phone_view(const std::vector<std::string> &list) : list_(list) {}

    // The index is not used for another list than it was made for, or for one that has grown.
    phone_view(const std::vector<std::string> &list, const phone_index &index) : list_(list) {
        const bool made = !index.slots.empty();
        if (!made || index.list != list.data() || index.size != list.size()) return;
        index_ = &index;
        last_name_ = place_of_last_name();
    }

    bool empty() const { return list_.empty(); }

    bool lists(const std::string &name) const {
        if (place_by_index(name) != list_.size()) return true;
        return !is_unchanged() && place_of(name, list_.size()) != list_.size();
    }

    // Whether a reading is a phone. The search ends at the first name that equals the list's last
    // one, so names after an earlier copy of the last name do not count. Not for an empty list.
    bool is_phone(const std::string &name) const {
        const size_t end = index_ != nullptr ? last_name_ : place_of_last_name();
        if (place_by_index(name) <= end) return true;
        return !is_unchanged() && place_of(name, end + 1) <= end;
    }

    // Copies of the list's last name before the first `name`; all copies if `name` is absent.
    size_t last_names_before(const std::string &name) const {
        if (index_ != nullptr && place_by_index(name) <= last_name_) return 0;
        const size_t end = place_of(name, list_.size());
        return static_cast<size_t>(std::count(list_.begin(), at(end), list_.back()));
    }

    // The slot that holds a place of `name`, or the free one where it would be.
    static size_t slot_of(const std::vector<std::string> &list, const std::vector<uint32_t> &slots,
                          const std::string &name) {
        const size_t mask = slots.size() - 1;
        size_t slot = std::hash<std::string>()(name) & mask;
        while (slots[slot] != phone_index::kFree && list[slots[slot]] != name) {
            slot = (slot + 1) & mask;
        }
        return slot;
    }

  private:
    std::vector<std::string>::const_iterator at(size_t place) const {
        return list_.begin() + static_cast<std::ptrdiff_t>(place);
    }

    // A place where the name is now, not always its first one; the size of the list without an
    // index, or when the index has none.
    size_t place_by_index(const std::string &name) const {
        if (index_ == nullptr) return list_.size();
        const uint32_t place = index_->slots[slot_of(list_, index_->slots, name)];
        return place != phone_index::kFree ? place : list_.size();
    }

    // The name's first place before `end`, or `end`.
    size_t place_of(const std::string &name, size_t end) const {
        return static_cast<size_t>(std::find(list_.begin(), at(end), name) - list_.begin());
    }

    // Whether the index is known to hold for every name. To compare the list takes as long as some
    // ten searches, so it is done only where there are many.
    bool is_unchanged() const {
        constexpr int kMostSearches = 8;
        if (index_ == nullptr) return false;
        if (state_ == unknown && ++searches_ > kMostSearches) {
            state_ = has_its_names() ? same : changed;
        }
        return state_ == same;
    }

    bool has_its_names() const {
        const char *at = index_->names.data();
        const char *const end = at + index_->names.size();
        for (const std::string &name : list_) {
            const size_t size = name.size();
            if (static_cast<size_t>(end - at) <= size || at[size] != '\n') return false;
            if (memcmp(at, name.data(), size) != 0) return false;
            at += size + 1;
        }
        return at == end;
    }

    size_t place_of_last_name() const {
        return list_.empty() ? 0 : place_of(list_.back(), list_.size());
    }

    const std::vector<std::string> &list_;
    const phone_index *index_ = nullptr;
    size_t last_name_ = 0;      // the first place of the list's last name; with an index only
    mutable int searches_ = 0;  // while the state is unknown
    mutable enum { unknown, same, changed } state_ = unknown;  // of the list since the index
};

inline phone_index index_phones(const std::vector<std::string> &list) {
    phone_index index;
    index.list = list.data();
    index.size = list.size();
    size_t slot_count = 1;
    while (slot_count < list.size() + list.size() / 2 + 1) slot_count *= 2;
    index.slots.assign(slot_count, phone_index::kFree);
    for (size_t place = 0; place < list.size(); ++place) {
        index.names.append(list[place]).append(1, '\n');
        uint32_t &slot = index.slots[phone_view::slot_of(list, index.slots, list[place])];
        if (slot == phone_index::kFree) slot = static_cast<uint32_t>(place);
    }
    return index;
}

#endif
