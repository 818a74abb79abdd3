// Sounds made for the tests of tts-voice.
#ifndef SUPPORT_SOUNDS_H
#define SUPPORT_SOUNDS_H

#include <algorithm>
#include <cmath>
#include <vector>

#include "sound/samples.h"

namespace tts_voice {

// A voice whose pitch moves through `hz`, with the given peak; 2 ms in and out.
inline samples voiced(double ms, const std::vector<double> &hz, int rate_hz = kClipRateHz,
                      double peak = 0.3) {
    samples sound(samples_in_ms(ms, rate_hz));
    const auto size = static_cast<double>(sound.size());
    double phase = 0;
    for (size_t i = 0; i < sound.size(); ++i) {
        const double at = static_cast<double>(i) / size * static_cast<double>(hz.size() - 1);
        const auto before = static_cast<size_t>(at);
        phase += 2 * M_PI * hz[before] *
                 std::pow(hz[before + 1] / hz[before], at - static_cast<double>(before)) / rate_hz;
        double value = 0;
        for (int k = 1; k <= 8; ++k) value += 0.54 * peak / k * std::sin(k * phase);
        const double edge = std::min(static_cast<double>(i), size - static_cast<double>(i));
        sound[i] = static_cast<float>(value * std::min(1.0, edge / rate_hz / 0.002));
    }
    return sound;
}

inline samples noise(double ms, int rate_hz = kClipRateHz, double peak = 0.5) {
    samples sound(samples_in_ms(ms, rate_hz));
    unsigned state = 1;
    for (float &sample : sound) {
        state = state * 1664525 + 1013904223;
        sample = static_cast<float>(peak * (state / 2147483648.0 - 1));
    }
    return sound;
}

}  // namespace tts_voice

#endif
