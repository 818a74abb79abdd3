#include "sound/rate_estimator.h"

#include <algorithm>
#include <cmath>

#include "sound/median.h"

namespace tts_voice {

namespace {

constexpr size_t kLeastMembers = 10;
constexpr double kLeastSpread = 0.05, kLeastLog = 0.25, kLeastSpreads = 5;
constexpr double kLeastPitchMiss = 0.5;      // a wrong multiple of a pitch is off by log 2 or more
constexpr double kSpreadOfDeviation = 1.48;  // of a median deviation, as for a normal distribution

}  // namespace

rate_estimator::rate_estimator(const std::vector<measured_clip> &clips) {
    std::map<group, std::vector<const clip_measure *>> members;
    for (const measured_clip &clip : clips) members[group_of(clip.file)].push_back(&clip.measure);
    for (const auto &[key, measures] : members) {
        if (measures.size() >= kLeastMembers) groups_[key] = usual_of(measures);
    }
}

double rate_estimator::factor_of(const measured_clip &clip) const {
    const auto found_group = groups_.find(group_of(clip.file));
    if (found_group == groups_.end()) return 1;
    const usual_values &usual = found_group->second;
    estimates found = estimates_of(clip.measure);
    const double with_pitch = combined(found, usual);
    if (with_pitch != 0) return std::exp(with_pitch);
    // Of a pitch outside its range the tracker finds nothing, or a multiple.
    const std::optional<double> pitch = found[1];
    found[1].reset();
    const double without = combined(found, usual);
    const bool missed = !pitch || std::fabs(*pitch - usual[1].middle - without) > kLeastPitchMiss;
    return missed ? std::exp(without) : 1;
}

rate_estimator::group rate_estimator::group_of(const std::string &file) {
    const tts_tools::clip_name clip = tts_tools::parse_clip(file);
    return {clip.directory, clip.tone, clip.syllables.size(), clip.place};
}

rate_estimator::estimates rate_estimator::estimates_of(const clip_measure &m) {
    const auto log_of = [](double value, double sign) {
        return value > 0 ? std::optional<double>(sign * std::log(value)) : std::nullopt;
    };
    return {log_of(m.duration_ms, 1), log_of(m.pitch_hz, -1), log_of(m.brightness_hz, -1)};
}

rate_estimator::usual_values rate_estimator::usual_of(
    const std::vector<const clip_measure *> &members) {
    usual_values usual;
    for (size_t k = 0; k < usual.size(); ++k) {
        std::vector<double> values;
        for (const clip_measure *m : members) {
            if (const auto value = estimates_of(*m)[k]) values.push_back(*value);
        }
        if (values.empty()) continue;
        usual[k].middle = median_of(values);
        for (double &value : values) value = std::fabs(value - usual[k].middle);
        usual[k].spread = std::max(kLeastSpread, kSpreadOfDeviation * median_of(values));
    }
    return usual;
}

// The weighted mean of the estimates; 0 when it is not far enough from 0.
double rate_estimator::combined(const estimates &found, const usual_values &usual) {
    double sum = 0, weights = 0;
    for (size_t k = 0; k < found.size(); ++k) {
        if (!found[k] || usual[k].spread <= 0) continue;
        const double weight = 1 / (usual[k].spread * usual[k].spread);
        sum += weight * (*found[k] - usual[k].middle);
        weights += weight;
    }
    if (weights <= 0) return 0;
    const double mean = sum / weights;
    return std::fabs(mean) > std::max(kLeastLog, kLeastSpreads / std::sqrt(weights)) ? mean : 0;
}

}  // namespace tts_voice
