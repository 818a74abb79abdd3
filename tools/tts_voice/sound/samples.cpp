#include "sound/samples.h"

#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "common/files.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSilenceDbfs = -120;

double to_db(double amplitude) {
    return amplitude > 0 ? 20 * std::log10(amplitude) : kSilenceDbfs;
}

double from_db(double db) {
    return std::pow(10, db / 20);
}

bool is_louder(float sample, double amplitude) {
    return std::fabs(static_cast<double>(sample)) > amplitude;
}

}  // namespace

double syllable_level_dbfs(int tone) {
    switch (tone) {
        case 3:
            return -21.5;
        case 5:
            return -24;
        default:
            return -20;
    }
}

// Second order Butterworth, run forwards only: it turns the phase of what is far below any voice.
void high_pass(samples &clip, double cutoff_hz, int rate_hz) {
    const double k = std::tan(kPi * cutoff_hz / rate_hz);
    const double norm = 1 / (1 + std::sqrt(2.0) * k + k * k);
    const double a1 = 2 * (k * k - 1) * norm;
    const double a2 = (1 - std::sqrt(2.0) * k + k * k) * norm;
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    for (float &sample : clip) {
        const double x = static_cast<double>(sample);
        const double y = norm * (x - 2 * x1 + x2) - a1 * y1 - a2 * y2;
        x2 = x1, x1 = x, y2 = y1, y1 = y;
        sample = static_cast<float>(y);
    }
}

void resampler::deleter::operator()(soxr *filter) const {
    soxr_delete(filter);
}

resampler::resampler(int from_hz, int to_hz) : ratio_(static_cast<double>(to_hz) / from_hz) {
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
    soxr_error_t error = nullptr;
    filter_.reset(soxr_create(from_hz, to_hz, 1, &error, nullptr, &quality, nullptr));
    if (error) throw failure(std::string("cannot make a resampler: ") + error);
}

samples resampler::operator()(const samples &clip) {
    samples out(static_cast<size_t>(std::lround(static_cast<double>(clip.size()) * ratio_)));
    if (out.empty()) return out;
    size_t made = 0, flushed = 0;
    soxr_error_t error = soxr_clear(filter_.get());
    if (!error) {
        error = soxr_process(filter_.get(), clip.data(), clip.size(), nullptr, out.data(),
                             out.size(), &made);
    }
    if (!error) {
        error = soxr_process(filter_.get(), nullptr, 0, nullptr, out.data() + made,
                             out.size() - made, &flushed);
    }
    if (error) throw failure(std::string("resampling failed: ") + error);
    out.resize(made + flushed);
    return out;
}

double peak_of(const samples &clip) {
    float peak = 0;
    for (const float sample : clip) peak = std::max(peak, std::fabs(sample));
    return static_cast<double>(peak);
}

double active_level_dbfs(const samples &clip, int rate_hz) {
    constexpr double kActiveBelowLoudestDb = 20;
    const size_t frame = samples_in_ms(10, rate_hz);
    std::vector<double> powers;
    for (size_t start = 0; start < clip.size(); start += frame) {
        const size_t end = std::min(start + frame, clip.size());
        double energy = 0;
        for (size_t i = start; i < end; ++i) {
            energy += static_cast<double>(clip[i]) * static_cast<double>(clip[i]);
        }
        powers.push_back(energy / static_cast<double>(end - start));
    }
    if (powers.empty()) return kSilenceDbfs;
    const double least =
        *std::max_element(powers.begin(), powers.end()) * from_db(-2 * kActiveBelowLoudestDb);
    double sum = 0;
    size_t active = 0;
    for (const double power : powers) {
        if (power >= least) sum += power, ++active;
    }
    return to_db(std::sqrt(sum / static_cast<double>(active)));
}

void approach_level(samples &clip, double target_dbfs, double share, double peak_limit) {
    const double peak = peak_of(clip);
    if (peak <= 0) return;
    const double wanted = from_db(share * (target_dbfs - active_level_dbfs(clip, kClipRateHz)));
    const auto gain = static_cast<float>(std::min(wanted, peak_limit / peak));
    for (float &sample : clip) sample *= gain;
}

void trim_start(samples &clip, double floor_db, double keep_ms) {
    const double floor = peak_of(clip) * from_db(floor_db);
    const auto loud = std::find_if(clip.begin(), clip.end(),
                                   [&](float sample) { return is_louder(sample, floor); });
    const auto quiet = static_cast<size_t>(loud - clip.begin());
    const size_t keep = samples_in_ms(keep_ms, kClipRateHz);
    if (quiet > keep) clip.erase(clip.begin(), loud - static_cast<std::ptrdiff_t>(keep));
}

void trim_end(samples &clip, double floor_db, double keep_ms) {
    std::reverse(clip.begin(), clip.end());
    trim_start(clip, floor_db, keep_ms);
    std::reverse(clip.begin(), clip.end());
}

// Raised cosines: the joins of clips must not click.
void fade(samples &clip, double in_ms, double out_ms) {
    const auto weight = [](size_t i, size_t length) {
        const double phase = kPi * (static_cast<double>(i) + 0.5) / static_cast<double>(length);
        return static_cast<float>(0.5 - 0.5 * std::cos(phase));
    };
    const size_t in = std::min(samples_in_ms(in_ms, kClipRateHz), clip.size());
    const size_t out = std::min(samples_in_ms(out_ms, kClipRateHz), clip.size());
    for (size_t i = 0; i < in; ++i) clip[i] *= weight(i, in);
    for (size_t i = 0; i < out; ++i) clip[clip.size() - 1 - i] *= weight(i, out);
}

std::string to_pcm16(const samples &clip) {
    std::string bytes;
    bytes.reserve(2 * clip.size());
    for (const float sample : clip) {
        const long value =
            std::clamp(std::lround(static_cast<double>(sample) * 32767), -32768L, 32767L);
        bytes += static_cast<char>(value & 0xFF);
        bytes += static_cast<char>(value >> 8 & 0xFF);
    }
    return bytes;
}

samples from_pcm16(std::string_view bytes) {
    samples clip;
    clip.reserve(bytes.size() / 2);
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const int low = static_cast<unsigned char>(bytes[i]);
        const int high = static_cast<unsigned char>(bytes[i + 1]);
        clip.push_back(static_cast<float>(static_cast<int16_t>(high << 8 | low)) / 32768.0F);
    }
    return clip;
}

std::string silent_pcm16(double milliseconds) {
    return to_pcm16(samples(samples_in_ms(milliseconds, kClipRateHz)));
}

}  // namespace tts_voice
