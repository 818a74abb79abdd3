#include "synthesis/tone_test.h"

#include <cmath>
#include <numeric>

#include "common/failure.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

constexpr double kLeastContourPercent = 95;

}  // namespace

void tone_test::add(const clip_job &job, const samples &clip) {
    if (job.tone >= 1 && job.tone <= 4) {
        syllables_.push_back({job.tone, pitch_track_hz(clip), false});
    }
}

void tone_test::judge() {
    high_hz_ = judge_contours(syllables_);
    for (const tone_track &syllable : syllables_) {
        ++total_[syllable.tone];
        if (syllable.has_contour) ++passed_[syllable.tone];
    }
    if (total_[1] == 0) throw failure("no first tone among the syllables to judge pitch by");
    if (high_hz_ < least_high_hz_) {
        throw failure("espeak-ng did not take the pitch variant: " + figures());
    }
    if (percent_passed() < kLeastContourPercent) {
        throw failure("less than 95 % of the toned syllables have the contour of their tone: " +
                      figures());
    }
}

double tone_test::percent_passed() const {
    const int passed = std::accumulate(passed_, passed_ + 5, 0);
    return syllables_.empty() ? 0 : 100.0 * passed / static_cast<double>(syllables_.size());
}

std::string tone_test::figures() const {
    std::string text = "tone 1 at " + std::to_string(std::lround(high_hz_)) + " Hz, contours of";
    for (int tone = 1; tone <= 4; ++tone) {
        text += (tone > 1 ? ", tone " : " tone ") + std::to_string(tone) + ": " +
                std::to_string(passed_[tone]) + " of " + std::to_string(total_[tone]);
    }
    return text;
}

}  // namespace tts_voice
