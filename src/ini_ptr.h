// A configuration that iniparser has loaded, and its release.
#ifndef TTS_INI_PTR_H
#define TTS_INI_PTR_H

#include <iniparser.h>

#include <memory>

struct ini_deleter {
    void operator()(dictionary *ini) const { iniparser_freedict(ini); }
};
using ini_ptr = std::unique_ptr<dictionary, ini_deleter>;

#endif
