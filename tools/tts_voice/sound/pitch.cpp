#include "sound/pitch.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "sound/median.h"

namespace tts_voice {

namespace {

// Pitch needs no high frequencies: a quarter of the rate does a sixteenth of the work.
constexpr size_t kDecimation = 4;
constexpr int kTrackRateHz = kClipRateHz / static_cast<int>(kDecimation);
constexpr size_t kFrame = samples_in_ms(30, kTrackRateHz);
constexpr size_t kHop = samples_in_ms(10, kTrackRateHz);
constexpr size_t kShortestLag = kTrackRateHz / 400, kLongestLag = kTrackRateHz / 65;
constexpr double kVoicedCorrelation = 0.5;
constexpr double kVoicedBelowLoudestDb = 25;

samples box_filtered(const samples &clip, size_t width) {
    samples out(clip.size());
    double sum = 0;
    for (size_t i = 0; i < clip.size(); ++i) {
        sum += static_cast<double>(clip[i]);
        if (i >= width) sum -= static_cast<double>(clip[i - width]);
        out[i] = static_cast<float>(sum / static_cast<double>(width));
    }
    return out;
}

// Two running means: enough against aliases, and they weaken the formants, whose ringing would
// otherwise be taken for a pitch.
samples decimated(const samples &clip) {
    constexpr size_t kWidth = samples_in_ms(1.25, kClipRateHz);  // first zero at 800 Hz
    const samples smooth = box_filtered(box_filtered(clip, kWidth), kWidth);
    samples out;
    for (size_t i = 0; i < smooth.size(); i += kDecimation) out.push_back(smooth[i]);
    return out;
}

double energy_of(const float *x, size_t length) {
    double energy = 0;
    for (size_t i = 0; i < length; ++i)
        energy += static_cast<double>(x[i]) * static_cast<double>(x[i]);
    return energy;
}

double correlation(const float *x, size_t lag, size_t length) {
    double product = 0;
    for (size_t i = 0; i < length; ++i) {
        product += static_cast<double>(x[i]) * static_cast<double>(x[i + lag]);
    }
    const double scale = std::sqrt(energy_of(x, length) * energy_of(x + lag, length));
    return scale > 0 ? product / scale : 0;
}

// Hz, or 0 for an unvoiced frame. `x` holds kFrame + kLongestLag + 1 samples.
double frame_pitch_hz(const float *x) {
    double values[kLongestLag + 2];
    double best = 0;
    for (size_t lag = kShortestLag - 1; lag <= kLongestLag + 1; ++lag) {
        values[lag] = correlation(x, lag, kFrame);
        if (lag >= kShortestLag && lag <= kLongestLag) best = std::max(best, values[lag]);
    }
    if (best < kVoicedCorrelation) return 0;
    // The shortest lag nearly as good as the best one: multiples of the period fit as well.
    for (size_t lag = kShortestLag; lag <= kLongestLag; ++lag) {
        const double left = values[lag - 1], here = values[lag], right = values[lag + 1];
        if (here < 0.92 * best || here < left || here < right) continue;
        const double curve = left - 2 * here + right;
        const double shift = curve < 0 ? 0.5 * (left - right) / curve : 0;
        return kTrackRateHz / (static_cast<double>(lag) + shift);
    }
    return 0;
}

double semitones(double hz, double reference_hz) {
    return 12 * std::log2(hz / reference_hz);
}

void smooth(std::vector<double> &track) {
    const std::vector<double> raw = track;
    for (size_t i = 1; i + 1 < raw.size(); ++i) {
        track[i] = std::max(std::min(raw[i - 1], raw[i]),
                            std::min(std::max(raw[i - 1], raw[i]), raw[i + 1]));
    }
}

// The longest stretch without a jump: what is outside it is a tracking error in a consonant or in
// a dying vowel.
std::vector<double> steady_part(const std::vector<double> &track) {
    constexpr double kJumpSemitones = 3;
    size_t best_start = 0, best_length = 0, start = 0;
    for (size_t i = 0; i < track.size(); ++i) {
        if (i > 0 && std::fabs(semitones(track[i], track[i - 1])) > kJumpSemitones) start = i;
        if (i + 1 - start > best_length) best_start = start, best_length = i + 1 - start;
    }
    const auto first = track.begin() + static_cast<std::ptrdiff_t>(best_start);
    return {first, first + static_cast<std::ptrdiff_t>(best_length)};
}

}  // namespace

std::vector<double> pitch_track_hz(const samples &clip) {
    samples sound = decimated(clip);
    const size_t length = sound.size();
    sound.resize(length + kFrame + kLongestLag + 2);
    std::vector<double> energies;
    for (size_t start = 0; start + kFrame <= length; start += kHop) {
        energies.push_back(energy_of(&sound[start], kFrame));
    }
    double loudest = 0;
    for (const double energy : energies) loudest = std::max(loudest, energy);
    std::vector<double> track;
    for (size_t i = 0; i < energies.size(); ++i) {
        if (energies[i] < loudest * std::pow(10, -kVoicedBelowLoudestDb / 10)) continue;
        const double hz = frame_pitch_hz(&sound[i * kHop]);
        if (hz > 0) track.push_back(hz);
    }
    smooth(track);
    return steady_part(track);
}

bool has_contour(const std::vector<double> &track_hz, int tone, double high_hz) {
    constexpr size_t kLeastFrames = 6;
    if (track_hz.size() < kLeastFrames || high_hz <= 0) return false;
    // Semitones over the speaker's first tone. A voiced consonant lowers the beginning, so the
    // vowel is taken to be the last two thirds.
    std::vector<double> pitch(track_hz.size());
    std::transform(track_hz.begin(), track_hz.end(), pitch.begin(),
                   [&](double hz) { return semitones(hz, high_hz); });
    const auto vowel = pitch.begin() + static_cast<std::ptrdiff_t>(pitch.size() / 3);
    const auto half = pitch.begin() + static_cast<std::ptrdiff_t>(pitch.size() / 2);
    const auto least = [](auto from, auto to) { return *std::min_element(from, to); };
    const auto most = [](auto from, auto to) { return *std::max_element(from, to); };
    const double low = least(vowel, pitch.end()), high = most(vowel, pitch.end());
    const double mean =
        std::accumulate(vowel, pitch.end(), 0.0) / static_cast<double>(pitch.end() - vowel);
    const double early_high = most(pitch.begin(), half), late_high = most(half, pitch.end());
    switch (tone) {
        case 1:
            return mean > -1.5 && high - low < 2.5;
        case 2:
            return late_high - *vowel > 2 && late_high > -2.5 && low > *vowel - 1;
        case 3:
            return early_high < -3.5 && mean < -4 && low < -5;
        case 4:
            return early_high > -2.5 && early_high - pitch.back() > 4.5;
        default:
            return false;
    }
}

double judge_contours(std::vector<tone_track> &tracks) {
    std::vector<double> high;
    for (const tone_track &track : tracks) {
        if (track.tone == 1) high.push_back(median_of(track.hz));
    }
    const double high_hz = median_of(high);
    for (tone_track &track : tracks) {
        track.has_contour = has_contour(track.hz, track.tone, high_hz);
    }
    return high_hz;
}

}  // namespace tts_voice
