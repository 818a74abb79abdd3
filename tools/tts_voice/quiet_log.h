// The engine's functions log what they do; in here only their results count.
#ifndef TTS_VOICE_QUIET_LOG_H
#define TTS_VOICE_QUIET_LOG_H

#include <android/log.h>

#include <cstdint>

namespace tts_voice {

// As long as it lives, the engine logs nothing.
class quiet_log {
  public:
    quiet_log() : before_(__android_log_set_minimum_priority(ANDROID_LOG_SILENT)) {}
    ~quiet_log() { __android_log_set_minimum_priority(before_); }
    quiet_log(const quiet_log &) = delete;
    quiet_log &operator=(const quiet_log &) = delete;

  private:
    const int32_t before_;
};

}  // namespace tts_voice

#endif
