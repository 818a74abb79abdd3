// Tests whether the syllables of a synthesised voice have the pitch contours of their tones.
#ifndef TTS_VOICE_SYNTHESIS_TONE_TEST_H
#define TTS_VOICE_SYNTHESIS_TONE_TEST_H

#include <string>
#include <vector>

#include "plan/plan.h"
#include "sound/pitch.h"
#include "sound/samples.h"
#include "synthesis/speaker.h"

namespace tts_voice {

// Collects the pitch of every syllable in tone 1 to 4 and judges them together, because what is
// high is only known relative to all first tones.
class tone_test {
  public:
    explicit tone_test(timbre voice) : least_high_hz_(least_high_tone_hz(voice)) {}

    void add(const clip_job &job, const samples &clip);

    // Throws `failure` when there is no first tone, when espeak-ng did not take the pitch variant
    // of the voice, or when fewer than 95 % of the syllables have the contour of their tone.
    void judge();

    // Both are valid after judge().
    double percent_passed() const;
    std::string figures()
        const;  // "tone 1 at 138 Hz, contours of tone 1: 1019 of 1023, tone 2: .."

  private:
    const double least_high_hz_;
    std::vector<tone_track> syllables_;
    double high_hz_ = 0;
    int total_[5] = {}, passed_[5] = {};  // by tone
};

}  // namespace tts_voice

#endif
