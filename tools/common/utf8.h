// Well-formed UTF-8: no stray bytes, overlong forms, surrogates or code points above U+10FFFF.
#ifndef TTS_COMMON_UTF8_H
#define TTS_COMMON_UTF8_H

#include <cstddef>
#include <string_view>

// The length in bytes of the character at `at`, or 0 when it is not well-formed.
inline size_t utf8_bytes(std::string_view text, size_t at) {
    // The range of the second byte keeps out what the lead byte alone would let pass.
    static constexpr struct {
        unsigned char first, last, size, low, high;
    } kForms[] = {
        {0x00, 0x7f, 1, 0x00, 0x00}, {0xc2, 0xdf, 2, 0x80, 0xbf}, {0xe0, 0xe0, 3, 0xa0, 0xbf},
        {0xe1, 0xec, 3, 0x80, 0xbf}, {0xed, 0xed, 3, 0x80, 0x9f}, {0xee, 0xef, 3, 0x80, 0xbf},
        {0xf0, 0xf0, 4, 0x90, 0xbf}, {0xf1, 0xf3, 4, 0x80, 0xbf}, {0xf4, 0xf4, 4, 0x80, 0x8f},
    };
    const auto within = [text](size_t i, unsigned char low, unsigned char high) {
        const auto byte = static_cast<unsigned char>(text[i]);
        return byte >= low && byte <= high;
    };
    for (const auto &form : kForms) {
        if (!within(at, form.first, form.last)) continue;
        if (text.size() - at < form.size) return 0;
        if (form.size > 1 && !within(at + 1, form.low, form.high)) return 0;
        for (size_t i = 2; i < form.size; ++i) {
            if (!within(at + i, 0x80, 0xbf)) return 0;
        }
        return form.size;
    }
    return 0;
}

#endif
