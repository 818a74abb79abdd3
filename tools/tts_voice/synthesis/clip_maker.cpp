#include "synthesis/clip_maker.h"

#include "common/failure.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

constexpr double kContextMs = 20;     // around a cut, for the resampler
constexpr double kSilenceDb = -44;    // relative to the peak
constexpr double kLevelShare = 0.75;  // some of the natural difference between clips stays

// The words spoken around a clip, so that it has the melody of its place.
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
// would ring. Beyond the ends of the carrier there is silence.
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

}  // namespace

clip_maker::clip_maker(timbre voice)
    : speaker_(voice), resample_(speaker_.rate_hz(), kClipRateHz) {}

samples clip_maker::make(const clip_job &job) {
    const carrier c = carrier_for(job);
    utterance u = speaker_.speak({job.spoken, c.rate_wpm, c.pitch}, c.before + job.text + c.after);
    high_pass(u.sound, kHighPassHz, speaker_.rate_hz());
    samples clip = cut(u.sound, range_of_words(u, job, c), speaker_.rate_hz(), resample_);
    if (c.trims_start) trim_start(clip, kSilenceDb, 20);
    if (c.trims_end) trim_end(clip, kSilenceDb, 12);
    approach_level(clip, syllable_level_dbfs(job.tone), kLevelShare, kPeakLimit);
    fade(clip, kFadeInMs, kFadeOutMs);
    return clip;
}

}  // namespace tts_voice
