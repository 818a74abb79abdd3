// Finds clips whose sample rate is wrong, by comparing each with similar clips of the voice.
#ifndef TTS_VOICE_SOUND_RATE_ESTIMATOR_H
#define TTS_VOICE_SOUND_RATE_ESTIMATOR_H

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "common/voice_names.h"
#include "sound/measure.h"

namespace tts_voice {

// A clip of k times the engine's rate is k times as long as similar clips, and its pitch and its
// brightness are k times lower. So each of the three gives an estimate of log k, which weighs the
// more the less it varies among the clips of a group: those of the same tone, or number of
// syllables, and of the same place in the text.
class rate_estimator {
  public:
    explicit rate_estimator(const std::vector<measured_clip> &clips);

    // How many times kClipRateHz the rate seems to be; 1 when the clip fits its group, or when that
    // has fewer than ten clips.
    double factor_of(const measured_clip &clip) const;

  private:
    // Directory, tone, number of syllables, place.
    using group = std::tuple<std::string, int, size_t, tts_tools::clip_place>;
    using estimates = std::array<std::optional<double>, 3>;
    struct usual_value {
        double middle = 0, spread = 0;
    };
    using usual_values = std::array<usual_value, 3>;

    static group group_of(const std::string &file);
    static estimates estimates_of(const clip_measure &m);
    static usual_values usual_of(const std::vector<const clip_measure *> &members);
    static double combined(const estimates &found, const usual_values &usual);

    std::map<group, usual_values> groups_;
};

}  // namespace tts_voice

#endif
