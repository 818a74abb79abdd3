// How a request was spoken: for tts-say --explain and the tests.
#ifndef TTS_SPEECH_REPORT_H
#define TTS_SPEECH_REPORT_H

#include <cstdint>
#include <string>
#include <vector>

#include "tts_ext.h"

// What gave a run of segments its sound.
enum class speech_rule {
    english,
    surname_pair,
    surname,
    phrase,
    double_clip,
    third_tone,
    syllable,
    pause,  // for a character without reading, or with the reading "error"
    leading_pause,
    greeting
};

// Segments that a rule spoke at once.
struct spoken_run {
    speech_rule rule;
    std::string text;  // of its segments; of a greeting and the leading pause, the clip's name
    // File names in the rule's directory, in speaking order: what the rule decided on. One that is
    // missing is silent.
    std::vector<std::string> clips;
    int32_t length;  // bytes of sound
};

struct speech_report {
    std::vector<spoken_run> spoken;  // in the order of the image
    std::string dropped;             // why the speech was dropped; empty when it was not
};

// tts_getWavData, which also sets `report`, when that is not null, to how the text was spoken;
// after an exception, to how far it came.
void tts_speak(void *hdl, char *str, char *out_buf, int *out_size, int buf_size,
               greet_param_t *pGreeting, speech_report *report);

#endif
