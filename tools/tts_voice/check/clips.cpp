// Checks the clips: their bytes, and their sound compared with the other clips of the voice.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include "check/checked_tree.h"
#include "clip_guard.h"
#include "common/voice_names.h"
#include "sound/median.h"
#include "sound/rate_estimator.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

// Far beyond the values of recorded and synthesised voices, so that every such clip is worth
// hearing.
constexpr double kSilentDbfs = -60, kLoudnessRangeDb = 7;
constexpr double kLongestEdgeSilenceMs = 100, kLongestLeadingPauseMs = 500;
constexpr double kGreatestOffset = 0.01, kGreatestEdgeStep = 0.02;
constexpr int kClippingRun = 3;  // samples at full scale

string number(double value, const char *format) {
    char text[100];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

// ---- one clip ----

// Measures a clip; reports one whose bytes are not samples.
std::optional<clip_measure> measure_file(checked_tree &tree, const string &file,
                                         const string &user) {
    const clip_guard clip(read_raw_data((tree.root / file).c_str()));
    const auto length = static_cast<size_t>(clip.get().length);
    const std::string_view bytes(reinterpret_cast<const char *>(clip.get().addr), length);
    ++tree.result.clips;
    tree.result.clip_bytes += length;
    if (parse_clip(file).kind == clip_kind::greeting) tree.result.greeting_bytes += length;

    const string named = ", named by " + user;
    const bool readable = clip.get().addr != nullptr;
    if (!readable) {
        tree.add(kinds::kClipUnreadable, file, 0, "the clip cannot be read" + named);
    } else if (bytes.empty()) {
        tree.add(kinds::kClipEmpty, file, 0, "the clip has no bytes" + named);
    } else if (bytes.substr(0, 4) == "RIFF") {
        tree.add(kinds::kClipHeader, file, 0, "the clip begins with a WAV header" + named);
    } else if (length % 2 != 0) {
        tree.add(kinds::kClipOddBytes, file, 0,
                 "the clip has " + std::to_string(length) + " bytes" + named);
    } else {
        return measure_clip(from_pcm16(bytes));
    }
    return std::nullopt;
}

void judge_alone(checked_tree &tree, const measured_clip &clip) {
    const clip_measure &m = clip.measure;
    const auto report = [&](const finding_kind &kind, const string &what) {
        tree.add(kind, clip.file, 0, what);
    };
    if (clip.file == greeting_clip(kLeadingPause) && m.duration_ms > kLongestLeadingPauseMs) {
        report(kinds::kLeadingPauseLong, number(m.duration_ms, "%.0f ms of pause"));
    }
    if (m.level_dbfs < kSilentDbfs) {
        if (!is_pause(clip.file)) report(kinds::kClipSilent, "there is no sound in it");
        return;
    }
    if (m.full_scale_run >= kClippingRun) {
        report(kinds::kClipClipping,
               std::to_string(m.full_scale_run) + " samples side by side at full scale");
    }
    if (std::fabs(m.dc) > kGreatestOffset) {
        report(kinds::kClipDcOffset,
               number(100 * m.dc, "the mean is %.1f %% of full scale, not 0"));
    }
    if (m.edge_step > kGreatestEdgeStep) {
        report(kinds::kClipEdgeStep,
               number(100 * m.edge_step, "begins or ends at %.1f %% of full scale"));
    }
    if (is_pause(clip.file)) return;
    if (std::max(m.lead_silence_ms, m.tail_silence_ms) > kLongestEdgeSilenceMs) {
        report(kinds::kClipEdgeSilence, number(m.lead_silence_ms, "%.0f ms of silence before") +
                                            number(m.tail_silence_ms, " and %.0f ms after it"));
    }
}

// Compares each clip with the others of the voice.
void judge_together(checked_tree &tree, const std::vector<measured_clip> &clips) {
    if (clips.empty()) return;
    std::vector<double> levels;
    levels.reserve(clips.size());
    for (const measured_clip &clip : clips) levels.push_back(clip.measure.level_dbfs);
    const double usual_dbfs = median_of(levels);
    const rate_estimator rates(clips);
    for (const measured_clip &clip : clips) {
        const double over = clip.measure.level_dbfs - usual_dbfs;
        if (std::fabs(over) > kLoudnessRangeDb) {
            tree.add(kinds::kClipLoudness, clip.file, 0,
                     number(over, "%+.1f dB against the middle of the voice at ") +
                         number(usual_dbfs, "%.1f dBFS"));
        }
        const double factor = rates.factor_of(clip);
        if (factor != 1) {
            tree.add(kinds::kClipRate, clip.file, 0,
                     number(factor * kClipRateHz, "seems to have some %.0f samples a second"));
        }
    }
}

}  // namespace

void check_clips(checked_tree &tree) {
    std::vector<measured_clip> sounds;  // neither silence nor pauses
    for (const auto &[file, user] : tree.used_clips) {
        const std::optional<clip_measure> measure = measure_file(tree, file, user);
        if (!measure) continue;
        const measured_clip &clip =
            tree.result.measured.emplace_back(measured_clip{file, *measure});
        judge_alone(tree, clip);
        if (!is_pause(file) && measure->level_dbfs >= kSilentDbfs) sounds.push_back(clip);
    }
    judge_together(tree, sounds);
    for (const string directory : kClipDirectories) {
        for (const string &file : tree.unused_clips(directory)) {
            if (file == kGreetingFile) continue;
            const bool phone = directory == kPhoneDirectory;
            tree.add(phone ? kinds::kClipWithoutPhone : kinds::kClipUnused, file, 0,
                     phone ? "no phone and no surname has this name" : "no list names it");
        }
    }
}

}  // namespace tts_voice
