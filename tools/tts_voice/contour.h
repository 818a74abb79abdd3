// Measures the pitch of a clip and tells whether it moves as its tone must.
#ifndef TTS_VOICE_CONTOUR_H
#define TTS_VOICE_CONTOUR_H

#include <vector>

#include "clip.h"

namespace tts_voice {

// Fundamental frequency in Hz of the voiced part of a clip, one value per 10 ms. A few values may
// be missing inside it.
std::vector<double> pitch_track_hz(const samples &clip);

double median_hz(std::vector<double> track);  // 0 for an empty track

// Whether the pitch stays high, rises, stays low or falls as tone 1 to 4 asks. `high_hz` is the
// pitch of the speaker's first tone. The final rise of a third tone is not asked for: inside an
// utterance it is not spoken.
bool has_contour(const std::vector<double> &track_hz, int tone, double high_hz);

}  // namespace tts_voice

#endif
