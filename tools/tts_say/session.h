// The engine at work for tts-say: started once, then speaking line after line.
#ifndef TTS_SAY_SESSION_H
#define TTS_SAY_SESSION_H

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "input.h"
#include "options.h"
#include "speech_report.h"
#include "tts_util.h"

struct session {
    tts_engine_t &engine;
    std::vector<int> ids;  // never fewer than two: the engine reads so many
    greet_param_t greeting;
    std::vector<char> buffer;
    speech_report report;              // of the line spoken last
    std::set<std::string> unreadable;  // lines that made the engine throw; the others are spoken
};

// Throws `failure` when the tree lacks what the engine cannot do without: it would end the process,
// or be silent.
void check_tree(const std::string &root);

// Starts the engine and checks the greetings asked for; warns of lists that name files outside
// their directories. Throws `failure`.
session open_session(const options &o);

// The WAV image of a line, in the session's buffer; empty, after a warning, when the engine cannot
// read it. When it does not fit, the buffer grows to what the report says that it takes. Throws
// `failure` for too much sound or too little memory.
std::string_view speak(session &s, const utterance &line);

#endif
