// Starting an engine on any directory: for the tools and the tests. And the library's version.
#ifndef TTS_ENGINE_START_H
#define TTS_ENGINE_START_H

#include <string>

#include "tts_util.h"

constexpr const char *kFixedRoot = "/usr/share/tts/";

// Starts an engine on the tree below `root` (a directory, with or without its trailing slash).
// tts_init is this with the fixed root.
void *tts_init_root(const std::string &root);

// A larger greetings.ini counts as one that cannot be loaded. 100,000 greetings fit, which take
// iniparser minutes.
constexpr int kMostIniBytes = 1 << 24;

// create_group of any configuration file.
greetings_info create_group_from(const std::string &iniPath);

const char *tts_version();  // "1.0.0"

#endif
