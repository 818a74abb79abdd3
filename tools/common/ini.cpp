#include "common/ini.h"

#include <cstdarg>
#include <cstdio>

#include "common/files.h"
#include "engine_start.h"

namespace tts_tools {

namespace {

std::string first_message;  // of iniparser, whose callback has no argument of ours

int keep_message(const char *format, ...) {
    char text[512] = "";
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (first_message.empty()) first_message = text;
    return length;
}

}  // namespace

ini_ptr load_ini(const std::filesystem::path &path, std::string *syntax_error) {
    // iniparser would read a pipe or a device for ever.
    if (read_file(path).size() > kMostIniBytes) {
        throw failure("cannot read " + path.string() + ": larger than 16 MiB");
    }
    first_message.clear();
    iniparser_set_error_callback(keep_message);
    ini_ptr ini(iniparser_load(path.c_str()));
    iniparser_set_error_callback(nullptr);
    if (syntax_error != nullptr) *syntax_error = first_message;
    return ini;
}

ini_ptr require_ini(const std::filesystem::path &path) {
    std::string error;
    ini_ptr ini = load_ini(path, &error);
    if (!ini) throw failure(path.string() + ": not an INI file (" + error + ")");
    return ini;
}

std::string ini_value(const dictionary &ini, const std::string &key) {
    const char *const value = iniparser_getstring(&ini, key.c_str(), nullptr);
    return value != nullptr ? value : "";
}

}  // namespace tts_tools
