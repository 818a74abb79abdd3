// Log lines of the engine: one macro per kind, formats checked by the compiler.
#ifndef TTS_LOG_H
#define TTS_LOG_H

#include <android/log.h>

#define TTS_INFO(...) __android_log_print(ANDROID_LOG_INFO, "TTS_ENGINE", __VA_ARGS__)
#define TTS_ERROR(...) __android_log_print(ANDROID_LOG_ERROR, "TTS_ENGINE", __VA_ARGS__)

// A trace line is the name of a function, a number fixed for the call site, and what is worth
// knowing there. The name belongs to the line: a helper that traces for another function gives that
// function's name.
#define TTS_TRACE_AS(name, number) TTS_INFO("%s %d \n", name, number)
#define TTS_TRACEF_AS(name, number, format, ...) \
    TTS_INFO("%s %d " format, name, number, __VA_ARGS__)
#define TTS_TRACE(number) TTS_TRACE_AS(__func__, number)
#define TTS_TRACEF(number, format, ...) TTS_TRACEF_AS(__func__, number, format, __VA_ARGS__)

#endif
