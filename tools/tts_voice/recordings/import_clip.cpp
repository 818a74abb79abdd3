#include "recordings/import_clip.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "common/files.h"
#include "common/voice_names.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

constexpr int kLowestRateHz = 8000, kHighestRateHz = 384000;
constexpr size_t kLongestRecordingSeconds = 60;
constexpr double kSilentPeakDbfs = -50;
constexpr float kGreatestSample = 100;  // of a format that goes past full scale
constexpr double kFrameMs = 5;
constexpr size_t kClickFrames = 3;  // a shorter sound is not speech

string text_of_number(const char *format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

// Finds equal samples in a row at the top of the scale, which no voice makes.
class clip_detector {
  public:
    void add(float sample) {
        constexpr float kTop = 0.98F;
        constexpr int kFlatSamples = 4;
        run_ = sample == last_ && std::fabs(sample) >= kTop ? run_ + 1 : 1;
        last_ = sample;
        clipped_ = clipped_ || run_ >= kFlatSamples;
    }
    bool clipped() const { return clipped_; }

  private:
    float last_ = 0;
    int run_ = 0;
    bool clipped_ = false;
};

using sound_file = std::unique_ptr<SNDFILE, int (*)(SNDFILE *)>;

void require_usable(const SF_INFO &info) {
    if (info.channels > 2) {
        throw failure(std::to_string(info.channels) + " channels; record one or two");
    }
    if (info.samplerate < kLowestRateHz || info.samplerate > kHighestRateHz) {
        throw failure(std::to_string(info.samplerate) + " samples a second; record " +
                      std::to_string(kLowestRateHz) + " to " + std::to_string(kHighestRateHz));
    }
}

// libsndfile reads what there is, and notes in its log when the header promises more: "data : 4000
// (should be 1000)". The header of what was written to a pipe promises no end.
bool is_cut_off(SNDFILE *file) {
    constexpr unsigned long long kEndless = 0x7FFFF000;  // bytes, or more
    constexpr const char *kThere = " (should be ";
    char log[2048] = "";
    sf_command(file, SFC_GET_LOG_INFO, log, sizeof log);
    for (const char *size : {"data : ", "SSND : ", "BODY : ", "Data Size   : ", "riff : ",
                             "Riff size : "}) {  // of WAV, AIFF, SVX, AU, W64 and RF64
        const char *const found = std::strstr(log, size);
        if (found == nullptr) continue;
        char *rest = nullptr;
        const auto promised = std::strtoull(found + std::strlen(size), &rest, 10);
        if (std::strncmp(rest, kThere, std::strlen(kThere)) != 0) continue;
        return std::strtoull(rest + std::strlen(kThere), nullptr, 10) < promised &&
               promised < kEndless;
    }
    return false;
}

struct sound_range {
    size_t start, end;  // samples
};

// Where the speech is. A recording that is already cut has no background to measure; then only what
// is far below the loudest part is left out.
sound_range speech_in(const samples &clip) {
    constexpr double kBelowLoudestDb = 44, kOverBackgroundDb = 8, kLeastBackgroundDb = 30;
    const size_t frame = samples_in_ms(kFrameMs, kClipRateHz);
    std::vector<double> levels;
    for (size_t start = 0; start + frame <= clip.size(); start += frame) {
        double energy = 1e-12;
        for (size_t i = start; i < start + frame; ++i) {
            energy += static_cast<double>(clip[i]) * static_cast<double>(clip[i]);
        }
        levels.push_back(10 * std::log10(energy / static_cast<double>(frame)));
    }
    if (levels.empty()) return {0, 0};
    std::vector<double> sorted = levels;
    std::sort(sorted.begin(), sorted.end());
    const double loudest = sorted.back(), background = sorted[sorted.size() / 10];
    double floor = loudest - kBelowLoudestDb;
    if (background < loudest - kLeastBackgroundDb) {
        floor = std::max(floor, background + kOverBackgroundDb);
    }
    size_t first = levels.size(), end = 0, run = 0;
    for (size_t i = 0; i < levels.size(); ++i) {
        run = levels[i] > floor ? run + 1 : 0;
        if (run < kClickFrames) continue;
        if (first == levels.size()) first = i + 1 - run;
        end = i + 1;
    }
    return first < end ? sound_range{first * frame, end * frame} : sound_range{0, 0};
}

void trim(samples &clip, const clip_form &form) {
    const sound_range speech = speech_in(clip);
    const size_t before = samples_in_ms(form.before_ms, kClipRateHz);
    const size_t start = speech.start - std::min(speech.start, before);
    const size_t end =
        std::min(clip.size(), speech.end + samples_in_ms(form.after_ms, kClipRateHz));
    clip.assign(clip.begin() + static_cast<std::ptrdiff_t>(start),
                clip.begin() + static_cast<std::ptrdiff_t>(speech.end == 0 ? start : end));
}

}  // namespace

recorded_sound read_recording(const fs::path &path) {
    SF_INFO info{};
    const sound_file file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    if (!file) throw failure("no sound file that can be read: " + string(sf_strerror(nullptr)));
    require_usable(info);
    recorded_sound recorded;
    recorded.rate_hz = info.samplerate;
    const auto channels = static_cast<size_t>(info.channels);
    std::vector<clip_detector> detectors(channels);
    std::vector<float> block(4096 * channels);
    const auto most = kLongestRecordingSeconds * static_cast<size_t>(info.samplerate);
    sf_count_t got = 0;
    while ((got = sf_readf_float(file.get(), block.data(), 4096)) > 0) {
        for (size_t i = 0; i < static_cast<size_t>(got); ++i) {
            float sum = 0;
            for (size_t c = 0; c < channels; ++c) {
                const float sample = block[i * channels + c];
                if (!(std::fabs(sample) <= kGreatestSample)) {
                    throw failure("holds samples that are not numbers or far over full scale");
                }
                detectors[c].add(sample);
                sum += sample;
            }
            recorded.sound.push_back(sum / static_cast<float>(channels));
        }
        if (recorded.sound.size() >= most) {
            throw failure("longer than " + std::to_string(kLongestRecordingSeconds) + " s");
        }
    }
    if (sf_error(file.get()) != SF_ERR_NO_ERROR) {
        throw failure("cannot be read to its end: " + string(sf_strerror(file.get())));
    }
    const bool has_length = info.frames < SF_COUNT_MAX;  // unlike FLAC that was written to a pipe
    if (has_length && static_cast<sf_count_t>(recorded.sound.size()) < info.frames) {
        throw failure("ends before the length that its header gives");
    }
    if (recorded.sound.empty()) throw failure("there is no sound in it");
    recorded.clipped = std::any_of(detectors.begin(), detectors.end(),
                                   [](const clip_detector &d) { return d.clipped(); });
    recorded.cut_off = is_cut_off(file.get());
    return recorded;
}

clip_form form_of(const string &file) {
    constexpr double kLongestMs = 30000, kLongestSyllableMs = 800;
    const clip_name clip = parse_clip(file);
    if (clip.kind == clip_kind::greeting) return {20, 12, 200, kLongestMs, 0};
    if (clip.kind == clip_kind::english) return {20, 12, 60, 2500, 0};
    const double before_ms = clip.place == clip_place::inside ? 10 : 20;
    const double after_ms = clip.place == clip_place::last ? 12 : 5;
    if (clip.kind == clip_kind::syllable) return {before_ms, after_ms, 60, 1000, clip.tone};
    const auto count = static_cast<double>(clip.syllables.size());  // 0: unknown
    return {before_ms, after_ms, 120, count > 0 ? kLongestSyllableMs * count : kLongestMs, 0};
}

samples clip_importer::make(const recorded_sound &recorded, const clip_form &form) {
    samples clip = recorded.sound;
    if (recorded.rate_hz != kClipRateHz) {
        clip = resamplers_.try_emplace(recorded.rate_hz, recorded.rate_hz, kClipRateHz)
                   .first->second(clip);
    }
    high_pass(clip, kHighPassHz, kClipRateHz);
    const double peak_dbfs = 20 * std::log10(std::max(peak_of(clip), 1e-6));
    if (peak_dbfs < kSilentPeakDbfs) {
        throw failure(text_of_number("silent, its peak is %.0f dBFS", peak_dbfs));
    }
    trim(clip, form);
    const double length_ms = 1000.0 * static_cast<double>(clip.size()) / kClipRateHz;
    if (length_ms < form.least_ms) {
        throw failure(text_of_number("too short, %.0f ms of sound, ", length_ms) +
                      text_of_number("at least %.0f are needed", form.least_ms));
    }
    if (length_ms > form.most_ms) {
        throw failure(text_of_number("too long, %.0f ms of sound, ", length_ms) +
                      text_of_number("at most %.0f are allowed", form.most_ms));
    }
    approach_level(clip, syllable_level_dbfs(form.tone), 1, kPeakLimit);
    fade(clip, kFadeInMs, kFadeOutMs);
    return clip;
}

}  // namespace tts_voice
