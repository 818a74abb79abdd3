#include "explain.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <utility>

#include "common/messages.h"
#include "common/voice_names.h"
#include "phones.h"

using namespace tts_tools;

namespace {

constexpr size_t kColumns = 5;
using row_t = std::array<std::string, kColumns>;  // text, kind, rule, clips, ms

// A run as the clip functions below see it.
struct spoken_text {
    const tts_engine_t &engine;
    std::string first;  // text of the first segment
    std::string all;    // of all its segments
    int position;
};

std::string english_clips(const spoken_text &t) {
    const auto entry = t.engine.dict_english.find(t.all);
    if (entry == t.engine.dict_english.end()) return "(not in the lexicon)";
    std::string clips;
    for (const std::string &piece : stringSplit(entry->second, ',')) {
        clips += (clips.empty() ? "" : " ") + piece;
    }
    return clips;
}

// The surname's own recording when there is one.
std::string surname_clip(const spoken_text &t) {
    const std::string &reading = t.engine.dict_single.at(t.all);
    struct stat status = {};
    const std::string first = clip_at(reading, clip_place::first);
    const std::string own = t.engine.pinyinRawPath + first;
    return stat(own.c_str(), &status) == 0 && status.st_size > 0 ? first : reading;
}

std::string reading(const spoken_text &t) {
    return soft_tone(t.engine.dict_pinyin.at(t.first), t.engine.dict_phone);
}

std::string third_tone(const spoken_text &t) {
    return third_tone_clip(t.engine.dict_pinyin.at(t.first), t.position, t.engine.dict_phone);
}

std::string syllable(const spoken_text &t) {
    return syllable_clip(reading(t), t.position, t.engine.dict_phone);
}

using spoken = const spoken_text &;
constexpr struct rule_row {
    speech_rule rule;
    const char *kind;
    const char *name;
    std::string (*clips)(spoken);
} kRules[] = {
    {speech_rule::english, "english", "english", english_clips},
    {speech_rule::surname_pair, "chinese", "surname pair",
     [](spoken t) { return clip_at(t.engine.dict_dural.at(t.all), clip_place::first); }},
    {speech_rule::surname, "chinese", "surname", surname_clip},
    {speech_rule::phrase, "chinese", "phrase",
     [](spoken t) { return t.engine.dict_temp.at(t.all); }},
    {speech_rule::double_clip, "chinese", "double", [](spoken t) { return double_of(reading(t)); }},
    {speech_rule::third_tone, "chinese", "third tone", third_tone},
    {speech_rule::syllable, "chinese", "syllable", syllable},
    {speech_rule::pause, "chinese", "pause", [](spoken) { return std::string(kShortPause); }},
};

std::string milliseconds(int bytes) {
    constexpr int kBytesPerMillisecond = 32;
    return std::to_string((bytes + kBytesPerMillisecond / 2) / kBytesPerMillisecond);
}

// Of a character of four bytes the engine keeps three, which cannot be shown.
std::string shown(const std::string &text) {
    constexpr unsigned char kFourBytes = 0xf0;
    const bool cut = static_cast<unsigned char>(text.front()) >= kFourBytes;
    return cut ? "\xef\xbf\xbd" : text;
}

row_t run_row(const tts_engine_t &engine, const speech_report &report, const spoken_run &run) {
    const auto first = report.texts.begin() + run.first;
    spoken_text run_text{engine, *first, "", run.position};
    std::string visible;
    std::for_each(first, first + run.count, [&](const std::string &segment) {
        run_text.all += segment;
        visible += shown(segment);
    });
    const rule_row &rule = *std::find_if(std::begin(kRules), std::end(kRules),
                                         [&](const rule_row &r) { return r.rule == run.rule; });
    return {visible, rule.kind, rule.name, rule.clips(run_text), milliseconds(run.length)};
}

// Greetings, the pause and the speech, as the image has them.
std::vector<row_t> all_rows(const tts_engine_t &engine, const greet_param_t &greeting,
                            const speech_report &report, int sound_bytes) {
    std::vector<row_t> greetings;
    std::vector<row_t> speech;
    int pause_bytes = sound_bytes;  // what is not told otherwise
    const auto &slots =
        greeting.language_type == 1 ? engine.greetingData_eng : engine.greetingData_ch;
    for (int i = 0; i < greeting.greeting_num; ++i) {
        const split_rawData &slot = slots[greeting.greeting_id[i]];
        pause_bytes -= slot.rawData.length;
        greetings.push_back(
            {slot.str, "greeting", "greeting", slot.str, milliseconds(slot.rawData.length)});
    }
    if (report.dropped.empty()) {
        for (const spoken_run &run : report.spoken) {
            pause_bytes -= run.length;
            speech.push_back(run_row(engine, report, run));
        }
    }
    speech.insert(speech.begin(),
                  {kLeadingPause, "pause", "pause", kLeadingPause, milliseconds(pause_bytes)});
    speech.insert(greeting.pos == GREETING_AHEAD ? speech.begin() : speech.end(), greetings.begin(),
                  greetings.end());
    return speech;
}

// Columns on a terminal: two for what lies from U+2E80, where the CJK blocks begin, one otherwise.
size_t width(const std::string &text) {
    size_t columns = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool continues = (byte & 0xc0U) == 0x80;
        if (!continues) columns += text.compare(i, 3, "\xe2\xba\x80") >= 0 && byte < 0xf0 ? 2 : 1;
    }
    return columns;
}

std::string aligned(std::vector<row_t> rows) {
    std::array<size_t, kColumns> widths = {};
    for (row_t &row : rows) {
        for (size_t c = 0; c < kColumns; ++c) {
            row[c] = printable(row[c]);
            widths[c] = std::max(widths[c], width(row[c]));
        }
    }
    std::string table;
    for (const row_t &row : rows) {
        for (size_t c = 0; c + 1 < kColumns; ++c) {
            table += row[c] + std::string(widths[c] - width(row[c]) + 2, ' ');
        }
        table += std::string(widths.back() - width(row.back()), ' ') + row.back() + "\n";
    }
    return table;
}

}  // namespace

std::string drop_reason(const speech_report &report) {
    return report.dropped.substr(0, report.dropped.find_last_not_of(" \n") + 1);
}

std::string explain(const tts_engine_t &engine, const greet_param_t &greeting,
                    const speech_report &report, int sound_bytes) {
    std::vector<row_t> rows = all_rows(engine, greeting, report, sound_bytes);
    rows.insert(rows.begin(), {"text", "kind", "rule", "clips", "ms"});
    rows.push_back({"total", "", "", "", milliseconds(sound_bytes)});
    const std::string reason = drop_reason(report);
    return aligned(std::move(rows)) +
           (reason.empty() ? "" : "speech dropped: " + printable(reason) + "\n");
}
