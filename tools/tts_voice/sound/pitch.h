// Measures the pitch of a clip, and whether it moves as its tone must.
#ifndef TTS_VOICE_SOUND_PITCH_H
#define TTS_VOICE_SOUND_PITCH_H

#include <vector>

#include "sound/samples.h"

namespace tts_voice {

// Fundamental frequency in Hz of the voiced part of a clip, one value per 10 ms. A few values may
// be missing inside it.
std::vector<double> pitch_track_hz(const samples &clip);

// Whether the pitch stays high, rises, stays low or falls, as tones 1 to 4 do. `high_hz` is the
// pitch of the speaker's first tone. A third tone need not rise at its end: inside an utterance it
// does not.
bool has_contour(const std::vector<double> &track_hz, int tone, double high_hz);

// The pitch of a toned syllable.
struct tone_track {
    int tone = 0;  // 1 to 4
    std::vector<double> hz;
    bool has_contour = false;
};

// Judges the syllables of a speaker together: what is high is only known when all first tones have
// been measured. Returns the pitch of the first tone in Hz; without any it is 0, and nothing
// passes.
double judge_contours(std::vector<tone_track> &tracks);

}  // namespace tts_voice

#endif
