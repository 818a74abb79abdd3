// greetings.ini as iniparser reads it.
#ifndef TTS_COMMON_INI_H
#define TTS_COMMON_INI_H

#include <filesystem>
#include <string>

#include "ini_ptr.h"

namespace tts_tools {

// Null when a line is neither a section nor a key with its value; `syntax_error`, when it is not
// null, is then the message of iniparser, "iniparser: syntax error in FILE (7): ...". Throws
// `failure` for anything but a readable regular file.
ini_ptr load_ini(const std::filesystem::path &path, std::string *syntax_error = nullptr);

// The same, but a syntax error is a `failure` as well.
ini_ptr require_ini(const std::filesystem::path &path);

// A value, or "" without one. `key` is "section:key".
std::string ini_value(const dictionary &ini, const std::string &key);

}  // namespace tts_tools

#endif
