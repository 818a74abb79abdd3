// The command line of tts-say.
#ifndef TTS_SAY_OPTIONS_H
#define TTS_SAY_OPTIONS_H

#include <string>
#include <vector>

#include "tts_ext.h"

struct options {
    std::vector<std::string> text;
    std::string file;       // "-": standard input
    std::string output;     // "-": standard output; empty: no sound is written
    bool announce = false;  // the output has the default name: print its path
    std::string root;
    std::vector<int> greeting;
    int language = 0;  // 0 Chinese, 1 English, as in greet_param_t
    greeting_positon_e position = GREETING_CLOSE;
    bool raw = false;
    bool explain = false;
    bool verbose = false;
};

// Thrown when nothing is to be spoken: after help and version (status 0) and a usage error (2).
struct nothing_to_say {
    int status;
};

// Reads the command line.
options read_options(int argc, char **argv);

#endif
