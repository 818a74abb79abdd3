#include "explain.h"

#include <algorithm>
#include <array>
#include <utility>

#include "common/messages.h"

using namespace tts_tools;

namespace {

constexpr size_t kColumns = 5;
using row_t = std::array<std::string, kColumns>;  // text, kind, rule, clips, ms

struct rule_name {
    speech_rule rule;
    const char *kind;
    const char *name;
};
constexpr rule_name kRules[] = {
    {speech_rule::english, "english", "english"},
    {speech_rule::surname_pair, "chinese", "surname pair"},
    {speech_rule::surname, "chinese", "surname"},
    {speech_rule::phrase, "chinese", "phrase"},
    {speech_rule::double_clip, "chinese", "double"},
    {speech_rule::third_tone, "chinese", "third tone"},
    {speech_rule::syllable, "chinese", "syllable"},
    {speech_rule::pause, "chinese", "pause"},
    {speech_rule::leading_pause, "pause", "pause"},
    {speech_rule::greeting, "greeting", "greeting"},
};

std::string milliseconds(int bytes) {
    constexpr int kBytesPerMillisecond = 32;
    return std::to_string((bytes + kBytesPerMillisecond / 2) / kBytesPerMillisecond);
}

// The engine keeps three of the four bytes of some characters, and these cannot be shown.
std::string shown(const std::string &text) {
    std::string visible;
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const size_t bytes = lead < 0x80 ? 1 : 3;
        visible += lead >= 0xf0 ? "\xef\xbf\xbd" : text.substr(i, bytes);
        i += bytes;
    }
    return visible;
}

std::string names(const std::vector<std::string> &clips) {
    std::string text;
    for (const std::string &clip : clips) text += (text.empty() ? "" : " ") + clip;
    return text;
}

row_t row_of(const spoken_run &run) {
    const rule_name &rule = *std::find_if(std::begin(kRules), std::end(kRules),
                                          [&](const rule_name &r) { return r.rule == run.rule; });
    const bool unknown = run.rule == speech_rule::english && run.clips.empty();
    return {shown(run.text), rule.kind, rule.name,
            unknown ? "(not in the lexicon)" : names(run.clips), milliseconds(run.length)};
}

// Columns on a terminal: two from U+2E80 on, where the CJK blocks begin, one before.
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

std::string explain(const speech_report &report) {
    std::vector<row_t> rows = {{"text", "kind", "rule", "clips", "ms"}};
    int sound_bytes = 0;
    for (const spoken_run &run : report.spoken) {
        rows.push_back(row_of(run));
        sound_bytes += run.length;
    }
    rows.push_back({"total", "", "", "", milliseconds(sound_bytes)});
    const std::string reason = drop_reason(report);
    return aligned(std::move(rows)) +
           (reason.empty() ? "" : "speech dropped: " + printable(reason) + "\n");
}
