// Clips on their way into a segment: their memory, and their release when an exception passes.
#ifndef TTS_CLIP_GUARD_H
#define TTS_CLIP_GUARD_H

#include <cstdint>
#include <utility>

#include "tts_util.h"

// A buffer of `size` bytes, for a clip. Null when there is no memory, and then, whatever the size,
// none counts as alive: what was not given counts as given back.
inline int16_t *clip_buffer(int size) {
    void *const buffer = my_malloc(size);
    if (buffer == nullptr) my_free(nullptr);
    return static_cast<int16_t *>(buffer);
}

// Owns a clip until a segment takes it; frees it if an exception comes first.
class clip_guard {
  public:
    explicit clip_guard(rawData_t clip) : clip_(clip) {}
    clip_guard(clip_guard &&other) noexcept : clip_(other.release()) {}
    clip_guard(const clip_guard &) = delete;
    clip_guard &operator=(const clip_guard &) = delete;
    ~clip_guard() {
        if (clip_.addr != nullptr) my_free(clip_.addr);
    }
    const rawData_t &get() const { return clip_; }
    rawData_t release() { return std::exchange(clip_, rawData_t{}); }

  private:
    rawData_t clip_;
};

#endif
