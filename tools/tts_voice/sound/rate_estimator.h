// Finds clips of a wrong sample rate by comparing them with the other clips of a voice.
#ifndef TTS_VOICE_SOUND_RATE_ESTIMATOR_H
#define TTS_VOICE_SOUND_RATE_ESTIMATOR_H

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sound/measure.h"

namespace tts_voice {

// A clip of k times the engine's rate is k times as long as its like, and its pitch and its
// brightness are lower by k. Each of the three is an estimate of log k, worth as much as it varies
// little among the clips of a group: those of one place in the text and one tone.
class rate_estimator {
  public:
    explicit rate_estimator(const std::vector<measured_clip> &clips);

    // How many times kClipRateHz the rate seems to be; 1 where nothing speaks against it, as in a
    // group of less than ten clips.
    double factor_of(const measured_clip &clip) const;

  private:
    using estimates = std::array<std::optional<double>, 3>;
    struct usual_value {
        double middle = 0, spread = 0;
    };
    using usual_values = std::array<usual_value, 3>;

    static estimates estimates_of(const clip_measure &m);
    static usual_values usual_of(const std::vector<const clip_measure *> &members);
    static double combined(const estimates &found, const usual_values &usual);

    std::map<std::string, usual_values> groups_;
};

}  // namespace tts_voice

#endif
