// A recording made into a clip: a file of any bytes, or sound synthesised from the bytes, which
// reaches more code than files do. The first characters select the file or sound, and the clip.
#include <algorithm>
#include <cmath>

#include "common/files.h"
#include "harness.h"
#include "recordings/import_clip.h"
#include "sound/measure.h"

using namespace tts_tools;
using namespace tts_voice;

namespace {

// libsndfile takes the format from the name where the bytes do not show it.
constexpr const char *kFiles[] = {"a.wav", "a", "a.raw", "a.vox", "a.gsm", "a.au", "a.mp3"};
constexpr const char *kClips[] = {"pinyinRaw/hao3",       "pinyinRaw/hao3_1", "pinyinRaw/ma5_2",
                                  "pinyinRaw/er4shi2du4", "engRaw/a.raw",     "greetingRaw/a",
                                  "pinyinRaw/",           "pinyinRaw/1a"};
constexpr int kRates[] = {8000, 11025, 16000, 22050, 44100, 48000, 96000, 384000};

size_t index(int number, size_t size) {
    return static_cast<size_t>(static_cast<unsigned char>(number)) % size;
}

// Blocks of 4 bytes: level, pitch and length of a sound, or the level of a noise. At most 3
// seconds.
recorded_sound played(input &bytes) {
    constexpr size_t kMostSamples = 20000;
    recorded_sound recorded;
    recorded.rate_hz = kRates[index(bytes.number(), std::size(kRates))];
    const auto rate = static_cast<size_t>(recorded.rate_hz);
    const size_t most = std::min(5 * rate / 2, kMostSamples);
    const std::string blocks = bytes.rest();
    uint32_t state = 1;
    for (size_t i = 0; i + 3 < blocks.size(); i += 4) {
        const auto byte = [&](size_t at) { return static_cast<unsigned char>(blocks[i + at]); };
        const double level = byte(0) / 64.0 / (1 + byte(3) / 2), hz = 4.0 * byte(1);
        const size_t length = rate / 500 * byte(2);
        for (size_t n = 0; n < length && recorded.sound.size() < most; ++n) {
            state = state * 1664525 + 1013904223;
            const double wave =
                byte(3) % 2 != 0
                    ? state / 2147483648.0 - 1
                    : std::sin(static_cast<double>(n) * 6.2832 * hz / recorded.rate_hz);
            recorded.sound.push_back(static_cast<float>(level * wave));
        }
    }
    return recorded;
}

recorded_sound read(const std::string &name, const std::string &bytes) {
    static const resource_tree tree;
    tree.file(name, bytes);
    recorded_sound recorded = read_recording(tree.root + name);
    CHECK(recorded.rate_hz >= 8000 && recorded.rate_hz <= 384000 && !recorded.sound.empty());
    CHECK(recorded.sound.size() <= 60 * static_cast<size_t>(recorded.rate_hz) + 4096);
    return recorded;
}

void check_clip(const samples &clip, const clip_form &form) {
    const double length_ms = static_cast<double>(clip.size()) / 16;
    CHECK(length_ms >= form.least_ms && length_ms <= form.most_ms);
    float peak = 0;
    for (const float sample : clip) {
        CHECK(std::isfinite(sample));
        peak = std::max(peak, std::fabs(sample));
    }
    CHECK(static_cast<double>(peak) <= kPeakLimit + 1e-4);
    CHECK(std::fabs(clip.front()) < 0.01F && std::fabs(clip.back()) < 0.01F);
    const std::string pcm = to_pcm16(clip);
    const clip_measure m = measure_clip(from_pcm16(pcm));
    CHECK(pcm.size() == 2 * clip.size() && std::isfinite(m.level_dbfs) &&
          std::isfinite(m.pitch_hz));
    CHECK(m.level_dbfs > -60);  // what tts-voice check calls silent
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    input bytes(data, size);
    const size_t way = index(bytes.number(), std::size(kFiles) + 1);
    const clip_form form = form_of(kClips[index(bytes.number(), std::size(kClips))]);
    CHECK(form.tone >= 0 && form.tone <= 5 && form.least_ms < form.most_ms);
    try {
        const recorded_sound recorded =
            way == std::size(kFiles) ? played(bytes) : read(kFiles[way], bytes.rest());
        for (const float sample : recorded.sound) CHECK(std::fabs(sample) <= 100);
        clip_importer importer;
        const samples clip = importer.make(recorded, form);
        check_clip(clip, form);
        if (size % 4 == 0)                                 // it takes long
            CHECK(importer.make(recorded, form) == clip);  // with the resampler that it kept
    } catch (const failure &why) {
        CHECK(*why.what() != '\0');
    }
    return 0;
}
