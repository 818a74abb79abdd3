// The median of measured values.
#ifndef TTS_VOICE_SOUND_MEDIAN_H
#define TTS_VOICE_SOUND_MEDIAN_H

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tts_voice {

// The upper one of two middle values; 0 without values.
inline double median_of(std::vector<double> values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace tts_voice

#endif
