// What measuring a clip gives.
#ifndef TTS_VOICE_SOUND_MEASURE_H
#define TTS_VOICE_SOUND_MEASURE_H

#include <string>
#include <vector>

#include "sound/samples.h"

namespace tts_voice {

struct clip_measure {
    double duration_ms = 0;
    double level_dbfs = 0;         // root mean square of the active part; -120 for silence
    double peak = 0;               // 0..1
    double dc = 0;                 // mean, -1..1
    double pitch_hz = 0;           // median; 0 where no voice was found
    std::vector<double> track_hz;  // see pitch_track_hz()
    double brightness_hz = 0;      // root mean square frequency; 0 for silence
    double lead_silence_ms = 0;    // before the first and after the last sample within 44 dB of the
    double tail_silence_ms = 0;    // peak; the whole clip for silence
    double edge_step = 0;          // the greater of the first and the last sample's amplitudes
    int full_scale_run = 0;        // most samples in a row at full scale
};

struct measured_clip {
    std::string file;  // relative to the tree: "pinyinRaw/hao3_1"
    clip_measure measure;
};

clip_measure measure_clip(const samples &clip);  // at kClipRateHz

}  // namespace tts_voice

#endif
