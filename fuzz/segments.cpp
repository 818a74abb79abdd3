// Segmentation of any bytes: what becomes a segment, in order, and that nothing else was left out.
#include <algorithm>
#include <stdexcept>

#include "harness.h"

namespace {

bool is_letter(char c) {
    return c >= 'a' && c <= 'z';
}

bool is_high(char c) {
    return (c & 0x80) != 0;
}

// Walks over what gives no segment. Returns where the next one begins, or the end.
size_t skip_silent(const std::string &text, size_t at) {
    while (at < text.size() && !is_letter(text[at])) {
        const bool three = text.size() - at > 2 && is_high(text[at]) && is_high(text[at + 1]) &&
                           is_high(text[at + 2]);
        if (three && (text[at] & 0x20) != 0) break;
        at += three ? 2 : 1;
    }
    return at;
}

void check_segments(const std::string &bytes) {
    std::string text = bytes;
    const std::vector<split_rawData> segments = split_ch_eng(text);
    std::string lower = bytes;
    for (char &c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
    CHECK(text == lower);

    size_t at = 0;
    int index = 0;
    for (const split_rawData &segment : segments) {
        at = skip_silent(text, at);
        CHECK(at < text.size() && occurs_at(text, at, segment.str));
        CHECK(segment.index == index++ && segment.rawData.addr == nullptr &&
              segment.rawData.length == 0);
        at += segment.str.size();
        if (segment.type == 0) {
            CHECK(!segment.str.empty() &&
                  std::all_of(segment.str.begin(), segment.str.end(), is_letter));
            CHECK(at == text.size() || !is_letter(text[at]));
        } else {
            CHECK(segment.type == 1 && segment.str.size() == 3);
            CHECK(std::all_of(segment.str.begin(), segment.str.end(), is_high));
        }
    }
    CHECK(skip_silent(text, at) == text.size());
}

void check_word(const std::string &text, int start, int end) {
    try {
        const int length = count_eng_word(text, start, end);
        CHECK(length >= 0 && (length == 0 || start + length <= end));
        for (int i = 0; i < length; ++i) CHECK(is_letter(text.at(static_cast<size_t>(start + i))));
        const auto after = static_cast<size_t>(start + length);
        CHECK(start + length >= end || !is_letter(text.at(after)));
    } catch (const std::out_of_range &) {
        CHECK(start < 0 || end > static_cast<int>(text.size()));
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    input bytes(data, size);
    const int start = bytes.number();
    const int end = bytes.number();
    const std::string text = bytes.rest();
    check_word(text, start, end);
    check_segments(text);
    return 0;
}
