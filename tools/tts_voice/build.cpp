#include "build.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <numeric>

#include "check/check.h"
#include "common/messages.h"
#include "common/voice_names.h"
#include "plan.h"
#include "progress.h"
#include "sound/pitch.h"
#include "sound/samples.h"
#include "staged_tree.h"
#include "synthesis/speaker.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

constexpr double kContextMs = 20;   // around a cut, for the resampler
constexpr double kSilenceDb = -44;  // under the peak
constexpr double kLevelShare = 0.75;
constexpr double kLeastContourPercent = 95;

struct carrier {
    const char *before, *after;
    size_t words_before;
    int rate_wpm, pitch;
    bool trims_start, trims_end;
};

// ta1 neither changes the tone of its neighbour nor has its own changed. Utterances sink and slow
// down towards their end, so the three places differ a little in pitch and rate.
carrier carrier_for(const clip_job &job) {
    if (job.spoken == language::english) return {"", "", 0, 200, 50, true, true};
    switch (job.place) {
        case position::initial:
            return {"", " ta1", 0, 176, 53, true, false};
        case position::medial:
            return {"ta1 ", " ta1", 1, 180, 50, false, false};
        case position::final:
            return {"ta1 ", "", 1, 172, 47, false, true};
        case position::alone:
            break;
    }
    return {"", "", 0, 176, 50, true, true};
}

struct sample_range {
    size_t start, end;
};

sample_range range_of_words(const utterance &u, const clip_job &job, const carrier &c) {
    if (job.place == position::alone) return {0, u.sound.size()};
    const size_t wanted = c.words_before + job.words + (*c.after ? 1 : 0);
    if (u.word_starts.size() != wanted) {
        throw failure(job.file + ": espeak-ng takes \"" + job.text + "\" for " +
                      std::to_string(u.word_starts.size()) + " words with its carrier, expected " +
                      std::to_string(wanted));
    }
    const size_t start = u.word_starts[c.words_before];
    return {start, *c.after ? u.word_starts.back() : u.sound.size()};
}

// Cuts with some of the carrier left on both sides and removes that after resampling: a hard edge
// would ring. What the carrier does not have is silence.
samples cut(const samples &sound, sample_range range, int rate_hz, resampler &resample) {
    const size_t context = samples_in_ms(kContextMs, rate_hz);
    samples wide(range.end - range.start + 2 * context);
    for (size_t i = 0; i < wide.size(); ++i) {
        const size_t at = range.start + i;  // the sample wanted, plus `context`
        if (at >= context && at - context < sound.size()) wide[i] = sound[at - context];
    }
    samples clip = resample(wide);
    const size_t margin = samples_in_ms(kContextMs, kClipRateHz);
    return {clip.begin() + static_cast<std::ptrdiff_t>(margin),
            clip.end() - static_cast<std::ptrdiff_t>(margin)};
}

class clip_maker {
  public:
    explicit clip_maker(timbre speaks)
        : speaker_(speaks), resample_(speaker_.rate_hz(), kClipRateHz) {}

    samples make(const clip_job &job) {
        const carrier c = carrier_for(job);
        utterance u =
            speaker_.speak({job.spoken, c.rate_wpm, c.pitch}, c.before + job.text + c.after);
        high_pass(u.sound, kHighPassHz, speaker_.rate_hz());
        samples clip = cut(u.sound, range_of_words(u, job, c), speaker_.rate_hz(), resample_);
        if (c.trims_start) trim_start(clip, kSilenceDb, 20);
        if (c.trims_end) trim_end(clip, kSilenceDb, 12);
        approach_level(clip, syllable_level_dbfs(job.tone), kLevelShare, kPeakLimit);
        fade(clip, kFadeInMs, kFadeOutMs);
        return clip;
    }

  private:
    speaker speaker_;
    resampler resample_;
};

// Collects the pitch of every toned syllable and judges them together.
class contour_test {
  public:
    explicit contour_test(timbre speaks) : least_high_hz_(least_high_tone_hz(speaks)) {}

    void add(const clip_job &job, const samples &clip) {
        if (job.tone >= 1 && job.tone <= 4)
            heard_.push_back({job.tone, pitch_track_hz(clip), false});
    }

    void judge() {
        high_hz_ = judge_contours(heard_);
        for (const tone_track &t : heard_) {
            ++total_[t.tone];
            if (t.has_contour) ++passed_[t.tone];
        }
        require_quality();
    }

    double percent_passed() const {
        const int passed = std::accumulate(passed_, passed_ + 5, 0);
        return heard_.empty() ? 0 : 100.0 * passed / static_cast<double>(heard_.size());
    }

    // "tone 1 at 138 Hz, contours of tone 1: 1019 of 1023, tone 2: ..."
    std::string figures() const {
        std::string text =
            "tone 1 at " + std::to_string(std::lround(high_hz_)) + " Hz, contours of";
        for (int tone = 1; tone <= 4; ++tone) {
            text += (tone > 1 ? ", tone " : " tone ") + std::to_string(tone) + ": " +
                    std::to_string(passed_[tone]) + " of " + std::to_string(total_[tone]);
        }
        return text;
    }

  private:
    void require_quality() const {
        if (total_[1] == 0) throw failure("no first tone among the syllables to judge pitch by");
        if (high_hz_ < least_high_hz_) {
            throw failure("espeak-ng did not take the pitch variant: " + figures());
        }
        if (percent_passed() < kLeastContourPercent) {
            throw failure("less than 95 % of the toned syllables have the contour of their tone: " +
                          figures());
        }
    }

    const double least_high_hz_;
    std::vector<tone_track> heard_;
    double high_hz_ = 0;
    int total_[5] = {}, passed_[5] = {};
};

void write_texts(const voice_plan &plan, const fs::path &root) {
    for (const char *directory : kClipDirectories) make_directory(root / directory);
    for (const auto &[file, text] : plan.texts) write_file(root / file, text);
}

size_t write_clips(const voice_plan &plan, const staged_tree &tree, const build_options &options,
                   contour_test &contours) {
    size_t bytes = 0;
    clip_maker maker(options.speaks);
    progress_bar bar(plan.clips.size(), options.show_progress);
    for (const clip_job &job : plan.clips) {
        const samples clip = maker.make(job);
        contours.add(job, clip);
        const std::string pcm = to_pcm16(clip);
        tree.write_clip(job.file, pcm);
        bytes += pcm.size();
        bar.step();
    }
    return bytes;
}

std::string origin(timbre speaks) {
    return "Made by tts-voice build " TTS_VOICE_VERSION " with espeak-ng " + speaker::version() +
           (speaks == timbre::female ? ", female" : "") +
           ".\nSee LICENSES.md beside this file before you pass the voice on.\n";
}

}  // namespace

void build_voice(const build_options &options) {
    const auto began = std::chrono::steady_clock::now();
    staged_tree tree(options.target);
    const voice_plan plan = make_plan(options.data);
    write_texts(plan, tree.root());
    write_file(tree.root() / "LICENSES.md", read_file(options.data / "LICENSES.md"));
    for (const silence &s : plan.silences) tree.write_clip(s.file, silent_pcm16(s.length_ms));
    contour_test contours(options.speaks);
    const size_t bytes = write_clips(plan, tree, options, contours);
    contours.judge();
    require_no_errors(tree.root(), "the finished voice");
    tree.seal(origin(options.speaks));
    tree.publish();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    char figures[100];
    std::snprintf(figures, sizeof figures,
                  ": %zu clips, %.1f MB, tone contours %.1f %%, made in %.1f s\n",
                  plan.clips.size() + plan.silences.size(), static_cast<double>(bytes) / 1e6,
                  contours.percent_passed(), took.count());
    print((options.show_figures ? contours.figures() + "\n" : "") +
          printable(options.target.string()) + figures);
}

}  // namespace tts_voice
