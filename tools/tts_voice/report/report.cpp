#include "report/report.h"

#include <cmath>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "check/check.h"
#include "check/findings.h"
#include "common/files.h"
#include "common/messages.h"
#include "common/voice_names.h"
#include "lists.h"
#include "progress.h"
#include "quiet_log.h"
#include "recordings/script.h"
#include "report/audio.h"
#include "report/page.h"
#include "rules.h"
#include "sound/pitch.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;
using json = nlohmann::ordered_json;

double rounded(double value, double step) {
    return std::round(value / step) * step;
}

// What the page shows side by side: syllables by their place, and the other kinds of clips.
const char *group_of(const clip_name &clip) {
    switch (clip.kind) {
        case clip_kind::english:
            return "English";
        case clip_kind::greeting:
            return "greetings";
        case clip_kind::pause:
            return "pauses";
        case clip_kind::syllable:
            return clip.place == clip_place::first    ? "first"
                   : clip.place == clip_place::inside ? "inside"
                                                      : "last";
        default:
            return "phrases";
    }
}

bool has_judged_tone(const clip_name &clip) {
    return clip.tone >= 1 && clip.tone <= 4;
}

// Which characters the engine can speak in every place of a text.
class reading_coverage {
  public:
    reading_coverage(const voice_texts &texts, const std::vector<measured_clip> &clips)
        : phones_(lines_of(texts.files.at("yinsu.txt"))), index_(index_phones(phones_)) {
        for (const measured_clip &clip : clips) clips_.insert(clip.file);
    }

    // Empty for a character that it can speak.
    string why_not(const text_character &c) const {
        if (c.reading.empty() || c.reading == "error") return "it has no reading";
        const phone_view phones(phones_, index_);
        const string reading = phones.empty() ? c.reading : complete_tone(c.reading, phones);
        if (phones.empty() || !phones.is_phone(reading)) return c.reading + " is not a phone";
        for (const int place : {0, 1, 2}) {
            const string clip = phone_clip(syllable_clip(reading, place, phones));
            if (!clips_.count(clip)) return clip + " cannot be played";
        }
        return "";
    }

  private:
    const phone_list phones_;
    const phone_index index_;
    std::set<string> clips_;
};

json text_of(const voice_texts &texts, const check_result &check, const fs::path &counts) {
    const quiet_log quiet;
    const reading_coverage voice(texts, check.measured);
    json missing = json::array();
    double spoken = 0;
    const std::vector<text_character> characters = text_characters(texts, counts);
    for (const text_character &c : characters) {
        const string why = voice.why_not(c);
        if (why.empty()) {
            spoken += c.share;
        } else {
            missing.push_back({c.character, c.share, why});
        }
    }
    return {{"share", spoken},
            {"characters", characters.size()},
            {"lexicon", lines_of(texts.files.at("pinyin_dict.txt")).size()},
            {"words", lines_of(texts.files.at("eng_dict.txt")).size() / 2},
            {"missing", missing}};
}

// A row for each clip: file, group, what it says, ms, dBFS, Hz (0: none), tone (0: not one
// syllable, 5: neutral), whether it has the contour of its tone, and the pitch of a syllable every
// 10 ms.
json clips_of(const check_result &check, const std::map<string, string> &says, double &high_hz) {
    std::vector<tone_track> tracks;
    for (const measured_clip &clip : check.measured) {
        const clip_name name = parse_clip(clip.file);
        if (has_judged_tone(name)) tracks.push_back({name.tone, clip.measure.track_hz, false});
    }
    high_hz = judge_contours(tracks);
    auto track = tracks.begin();
    json rows = json::array();
    for (const measured_clip &clip : check.measured) {
        const clip_measure &m = clip.measure;
        const clip_name name = parse_clip(clip.file);
        const bool judged = has_judged_tone(name);
        const auto say = says.find(clip.file);
        json pitch = json::array();
        for (const double hz : m.track_hz) {
            if (name.tone != 0) pitch.push_back(std::lround(hz));
        }
        rows.push_back({clip.file, group_of(name), say == says.end() ? "" : say->second,
                        std::lround(m.duration_ms), rounded(m.level_dbfs, 0.1),
                        std::lround(m.pitch_hz), name.tone, !judged || track->has_contour, pitch});
        if (judged) ++track;
    }
    return rows;
}

json measures_of(const report_options &options, const check_result &check) {
    const fs::path counts = options.data / "character_counts.txt";
    std::map<string, string> says;
    json text;
    try {
        const voice_texts texts = texts_of_tree(options.root);
        for (const recording &r : recordings_of(texts, counts)) says[r.clip] = r.say;
        text = text_of(texts, check, counts);
    } catch (const failure &why) {
        text = {{"lost", why.what()}};
    }
    double high_hz = 0;
    json clips = clips_of(check, says, high_hz);
    return {{"version", TTS_VOICE_VERSION},
            {"check", json::parse(report_json(options.root, check))},
            {"text", std::move(text)},
            {"high_hz", high_hz},
            {"clips", std::move(clips)}};
}

string audio_of(const report_options &options, const check_result &check) {
    string list = "[";
    progress_bar bar(check.measured.size(), options.show_progress);
    for (const measured_clip &clip : check.measured) {
        if (list.size() > 1) list += ",\n";
        list += '"' + to_base64(to_mp3(from_pcm16(read_file(options.root / clip.file)))) + '"';
        bar.step();
    }
    return list + "]";
}

void put(string &page, const string &mark, const string &value) {
    page.replace(page.find(mark), mark.size(), value);
}

// JSON for a script element, which the first "</script" or "<!--" in a string would upset.
string for_script(const json &value) {
    string text;
    for (const char c : value.dump(-1, ' ', false, json::error_handler_t::replace)) {
        if (c == '<') {
            text += "\\u003c";
        } else {
            text += c;
        }
    }
    return text;
}

}  // namespace

string page_data(const report_options &options, const check_result &check) {
    return for_script(measures_of(options, check));
}

int run_report(const report_options &options) {
    check_result check;
    try {
        check = check_tree(options.root);
    } catch (const failure &why) {
        warn(why.what());
        return 2;
    }
    read_rows(options.data / "character_counts.txt", 2, 2);  // reports a wrong --data at once
    string page = kReportPage;
    put(page, "{{audio}}", audio_of(options, check));
    put(page, "{{data}}", page_data(options, check));
    clear_leftovers_beside(options.output);
    replace_file(options.output, page);
    if (is_stream(options.output)) return 0;  // the page may have gone to standard output
    char figures[100];
    std::snprintf(figures, sizeof figures, ": %zu clips, %zu error(s), %zu warning(s), %.1f MB\n",
                  check.measured.size(), check.count(severity::error),
                  check.count(severity::warning), static_cast<double>(page.size()) / 1e6);
    print(printable(options.output.string()) + figures);
    return 0;
}

}  // namespace tts_voice
