// Work on one clip: floating point samples in -1..1, mono, whether recorded or synthesised.
#ifndef TTS_VOICE_SOUND_SAMPLES_H
#define TTS_VOICE_SOUND_SAMPLES_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct soxr;  // of libsoxr

namespace tts_voice {

constexpr int kClipRateHz = 16000;  // of every clip the engine joins

// What every clip of a voice goes through, so that clips of any origin can be joined.
constexpr double kHighPassHz = 60;  // bursts of zh, ch and t contain direct current
constexpr double kPeakLimit = 0.89;
constexpr double kFadeInMs = 2, kFadeOutMs = 5;
double syllable_level_dbfs(int tone);  // 5 is neutral; 0 for what is longer than a syllable

using samples = std::vector<float>;

constexpr size_t samples_in_ms(double milliseconds, int rate_hz) {
    return static_cast<size_t>(milliseconds * rate_hz / 1000);
}

void high_pass(samples &clip, double cutoff_hz, int rate_hz);

// Designing the filter costs more than running it over a syllable, so it is kept.
class resampler {
  public:
    resampler(int from_hz, int to_hz);
    samples operator()(const samples &clip);

  private:
    struct deleter {
        void operator()(soxr *filter) const;
    };
    std::unique_ptr<soxr, deleter> filter_;
    double ratio_;
};

double active_level_dbfs(const samples &clip, int rate_hz);  // pauses inside do not count
double peak_of(const samples &clip);

// Moves the level `share` of the way to the target, but keeps the peak under `peak_limit`.
void approach_level(samples &clip, double target_dbfs, double share, double peak_limit);

void trim_start(samples &clip, double floor_db, double keep_ms);  // floor relative to the peak
void trim_end(samples &clip, double floor_db, double keep_ms);
void fade(samples &clip, double in_ms, double out_ms);

std::string to_pcm16(const samples &clip);  // signed 16-bit, little endian
samples from_pcm16(std::string_view bytes);
std::string silent_pcm16(double milliseconds);  // at kClipRateHz

}  // namespace tts_voice

#endif
