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
    pause,  // for a character without reading
    leading_pause,
    greeting
};

// Segments that a rule spoke at once.
struct spoken_run {
    speech_rule rule;
    std::string text;  // of its segments; of a greeting and the pause, the clip's name
    std::vector<std::string> clips;  // file names in the rule's directory, in speaking order
    int32_t length;                  // bytes of sound
};

struct speech_report {
    std::vector<spoken_run> spoken;  // in the order of the image
    std::string dropped;             // why the speech was dropped; empty when it was not
};

// tts_getWavData, which also writes to `report`, when that is not null, how the text was spoken.
void tts_speak(void *hdl, char *str, char *out_buf, int *out_size, int buf_size,
               greet_param_t *pGreeting, speech_report *report);

#endif
