// Makes one clip of a voice: speaks it, cuts it out of its carrier and brings it to the voice's
// level.
#ifndef TTS_VOICE_SYNTHESIS_CLIP_MAKER_H
#define TTS_VOICE_SYNTHESIS_CLIP_MAKER_H

#include "plan/plan.h"
#include "sound/samples.h"
#include "synthesis/speaker.h"

namespace tts_voice {

// Holds the speaker, so there can be one at a time. The same jobs in the same order give the same
// clips.
class clip_maker {
  public:
    explicit clip_maker(timbre voice);

    // The clip at kClipRateHz. Throws `failure` when espeak-ng cannot speak the text, or splits it
    // into other words than the job says.
    samples make(const clip_job &job);

  private:
    speaker speaker_;
    resampler resample_;
};

}  // namespace tts_voice

#endif
