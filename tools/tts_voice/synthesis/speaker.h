// Speech from espeak-ng with a pitch variant of our own, as samples with the places of the words.
#ifndef TTS_VOICE_SYNTHESIS_SPEAKER_H
#define TTS_VOICE_SYNTHESIS_SPEAKER_H

#include <string>
#include <vector>

#include "common/temporary_directory.h"
#include "file_descriptor.h"
#include "plan/plan.h"
#include "sound/samples.h"

namespace tts_voice {

enum class timbre { male, female };

// The median pitch of first tones is above this when espeak-ng took the pitch variant of that
// timbre: it silently ignores a variant that it does not find, and then speaks near 98 Hz.
double least_high_tone_hz(timbre voice);

struct speaking_style {
    language spoken;
    int rate_wpm;
    int pitch;  // 0..100, 50 is the middle of the voice
};

struct utterance {
    samples sound;
    std::vector<size_t> word_starts;  // sample positions
};

// There can be one at a time: espeak-ng keeps its state in the process. The same texts in the same
// order give the same samples; its noise source runs on from one text to the next.
class speaker {
  public:
    explicit speaker(timbre voice);
    ~speaker();
    speaker(const speaker &) = delete;
    speaker &operator=(const speaker &) = delete;

    int rate_hz() const { return rate_hz_; }

    // Mandarin text is pinyin with tone digits, 5 for the neutral tone; [[...]] are phonemes.
    utterance speak(const speaking_style &style, const std::string &text);

    static std::string version();

  private:
    void apply(const speaking_style &style);

    const timbre timbre_;
    tts_tools::temporary_directory data_;
    const file_descriptor directory_;  // of data_
    int rate_hz_ = 0;
    std::string voice_;
};

}  // namespace tts_voice

#endif
