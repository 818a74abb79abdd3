#include "sound/measure.h"

#include <algorithm>
#include <cmath>

#include "sound/median.h"
#include "sound/pitch.h"

namespace tts_voice {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSilenceBelowPeak = 0.0063;  // 44 dB
constexpr double kFullScale = 32766.0 / 32768;

double amplitude(float sample) {
    return std::fabs(static_cast<double>(sample));
}

double in_ms(std::ptrdiff_t count) {
    return static_cast<double>(count) * 1000 / kClipRateHz;
}

// The frequency of a sine with the same ratio of slope to amplitude.
double rms_frequency_hz(const samples &clip) {
    double slope = 0, energy = 0;
    for (size_t i = 1; i < clip.size(); ++i) {
        const double here = static_cast<double>(clip[i]);
        const double step = here - static_cast<double>(clip[i - 1]);
        slope += step * step;
        energy += here * here;
    }
    if (energy <= 0) return 0;
    return kClipRateHz / kPi * std::asin(std::min(1.0, std::sqrt(slope / energy) / 2));
}

void measure_silences(const samples &clip, clip_measure &m) {
    const double floor = m.peak * kSilenceBelowPeak;
    const auto is_loud = [floor](float sample) { return amplitude(sample) > floor; };
    const auto first = std::find_if(clip.begin(), clip.end(), is_loud);
    const auto last = std::find_if(clip.rbegin(), clip.rend(), is_loud);
    m.lead_silence_ms = in_ms(first - clip.begin());
    m.tail_silence_ms = in_ms(last - clip.rbegin());
}

int longest_run_at_full_scale(const samples &clip) {
    int run = 0, longest = 0;
    for (const float sample : clip) {
        run = amplitude(sample) >= kFullScale ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    return longest;
}

double mean_of(const samples &clip) {
    double sum = 0;
    for (const float sample : clip) sum += static_cast<double>(sample);
    return sum / static_cast<double>(clip.size());
}

}  // namespace

clip_measure measure_clip(const samples &clip) {
    clip_measure m;
    m.duration_ms = in_ms(static_cast<std::ptrdiff_t>(clip.size()));
    m.level_dbfs = active_level_dbfs(clip, kClipRateHz);
    m.peak = peak_of(clip);
    measure_silences(clip, m);
    if (clip.empty()) return m;
    m.dc = mean_of(clip);
    m.track_hz = pitch_track_hz(clip);
    m.pitch_hz = median_of(m.track_hz);
    m.brightness_hz = rms_frequency_hz(clip);
    m.edge_step = std::max(amplitude(clip.front()), amplitude(clip.back()));
    m.full_scale_run = longest_run_at_full_scale(clip);
    return m;
}

}  // namespace tts_voice
