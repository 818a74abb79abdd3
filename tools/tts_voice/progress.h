// The progress bar of commands that work on thousands of clips.
#ifndef TTS_VOICE_PROGRESS_H
#define TTS_VOICE_PROGRESS_H

#include <cstddef>
#include <cstdio>
#include <string>

namespace tts_voice {

// A bar on standard error that is gone when the work is done.
class progress_bar {
  public:
    progress_bar(size_t steps, bool visible) : steps_(steps), visible_(visible) {}
    ~progress_bar() {
        if (visible_) std::fputs("\r\033[K", stderr);
    }
    progress_bar(const progress_bar &) = delete;
    progress_bar &operator=(const progress_bar &) = delete;

    void step() {
        const size_t percent = 100 * ++done_ / steps_;
        if (!visible_ || percent == shown_percent_) return;
        shown_percent_ = percent;
        const std::string bar(percent / 2, '#');
        std::fprintf(stderr, "\r[%-50s] %3zu %%", bar.c_str(), percent);
    }

  private:
    size_t steps_, done_ = 0, shown_percent_ = 0;
    bool visible_;
};

}  // namespace tts_voice

#endif
