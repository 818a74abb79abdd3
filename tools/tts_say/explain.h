// The table of --explain.
#ifndef TTS_SAY_EXPLAIN_H
#define TTS_SAY_EXPLAIN_H

#include <string>

#include "speech_report.h"

// Why the speech was dropped, without the log's line end; empty when it was not.
std::string drop_reason(const speech_report &report);

// What a request played, in speaking order: one row for each piece that a rule spoke at once, the
// leading pause and the greetings included.
std::string explain(const speech_report &report);

#endif
