#include "common/voice_names.h"

namespace tts_tools {

namespace {

constexpr char kFirst[] = "_1", kInside[] = "_2", kExtension[] = ".raw";

bool is_tone(char c) {
    return c >= '1' && c <= '5';
}

// Takes `end` off a longer text.
bool take_end(std::string &text, std::string_view end) {
    if (text.size() <= end.size()) return false;
    if (text.compare(text.size() - end.size(), end.npos, end) != 0) return false;
    text.resize(text.size() - end.size());
    return true;
}

// Empty for a text that is not a row of syllables.
std::vector<std::string> syllables_in(std::string_view text) {
    std::vector<std::string> syllables;
    bool ended = true;
    for (const char c : text) {
        if (c == '_' || (ended && is_tone(c))) return {};
        if (ended) syllables.emplace_back();
        syllables.back() += c;
        ended = is_tone(c);
    }
    return syllables;
}

void parse_reading(clip_name &clip) {
    if (take_end(clip.reading, kFirst)) {
        clip.place = clip_place::first;
    } else if (take_end(clip.reading, kInside)) {
        clip.place = clip_place::inside;
    }
    clip.syllables = syllables_in(clip.reading);
    if (clip.syllables.size() > 1) {
        clip.kind = clip_kind::phrase;
    } else if (clip.syllables.size() == 1) {
        clip.kind = clip_kind::syllable;
        clip.tone = tone_of(clip.reading);
    } else {
        clip.reading = clip.name;
        clip.place = clip_place::last;
        const std::string half = clip.name.substr(0, clip.name.find('_'));
        if (clip.name != double_of(half) || syllables_in(half).size() != 1) return;
        clip.kind = clip_kind::double_syllable;
        clip.syllables = {half, half};
    }
}

}  // namespace

clip_name parse_clip(const std::string &file) {
    clip_name clip;
    const size_t slash = file.find('/');
    clip.directory = slash == file.npos ? "" : file.substr(0, slash);
    clip.name = clip.reading = slash == file.npos ? file : file.substr(slash + 1);
    const bool phone = clip.directory == kPhoneDirectory;
    const bool greeting = clip.directory == kGreetingDirectory;
    if ((phone || greeting) && clip.name.rfind("pau_", 0) == 0) {
        clip.kind = clip_kind::pause;
    } else if (phone) {
        parse_reading(clip);
    } else if (greeting || clip.directory == kEnglishDirectory) {
        clip.kind = greeting ? clip_kind::greeting : clip_kind::english;
        take_end(clip.reading, kExtension);
    }
    return clip;
}

clip_name parse_phone(const std::string &name) {
    return parse_clip(phone_clip(name));
}

bool is_pause(const std::string &file) {
    return parse_clip(file).kind == clip_kind::pause;
}

int tone_of(const std::string &syllable) {
    return !syllable.empty() && is_tone(syllable.back()) ? syllable.back() - '0' : 5;
}

std::string with_tone(const std::string &syllable, int tone) {
    const bool has_digit = !syllable.empty() && is_tone(syllable.back());
    const std::string base = syllable.substr(0, syllable.size() - (has_digit ? 1 : 0));
    return tone == 5 ? base : base + std::to_string(tone);
}

std::string clip_at(const std::string &reading, clip_place place) {
    const char *const end = place == clip_place::first    ? kFirst
                            : place == clip_place::inside ? kInside
                                                          : "";
    return reading + end;
}

std::string double_of(const std::string &reading) {
    return reading + "_" + reading;
}

std::string phone_clip(const std::string &name) {
    return std::string(kPhoneDirectory) + "/" + name;
}

std::string phone_clip(const std::string &reading, clip_place place) {
    return phone_clip(clip_at(reading, place));
}

std::string english_clip(const std::string &name) {
    return std::string(kEnglishDirectory) + "/" + name;
}

std::string greeting_clip(const std::string &name) {
    return std::string(kGreetingDirectory) + "/" + name;
}

std::string file_of_word(const std::string &word) {
    return word + kExtension;
}

bool is_word(std::string_view text) {
    return text.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == text.npos;
}

bool parse_syllable(std::string_view text, syllable &parsed) {
    if (text.size() < 2 || !is_tone(text.back())) return false;
    parsed.base = text.substr(0, text.size() - 1);
    parsed.tone = text.back() - '0';
    return is_word(parsed.base);
}

}  // namespace tts_tools
