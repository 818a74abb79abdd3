// The greetings configuration of any bytes. A file that the INI library refuses ends the process
// by the library's contract, so those are left out.
#include <iniparser.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "harness.h"
#include "ini_ptr.h"

namespace {

// A name that fits its field, or none.
void check_name(const char (&field)[32], const dictionary *ini, const std::string &key) {
    const char *name = iniparser_getstring(ini, key.c_str(), "");
    if (name == nullptr || strlen(name) >= sizeof(field)) name = "";
    CHECK(memchr(field, '\0', sizeof(field)) != nullptr && strcmp(field, name) == 0);
}

int quiet(const char * /*format*/, ...) {
    return 0;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    iniparser_set_error_callback(quiet);
    const char *const file = file_of(input(data, size).rest());
    const ini_ptr ini(iniparser_load(file));
    if (!ini) return 0;
    const greetings_info group = create_group_from(file);
    CHECK(group.count == iniparser_getnsec(ini.get()) - 1);
    CHECK(static_cast<int>(group.greetings.size()) == std::max(group.count, 0));
    const greeting_config &config = group.gConfig;
    const auto number = [&](const std::string &key, int otherwise) {
        // A section of that name has no value, and iniparser_getint would crash on it.
        const bool present = iniparser_getstring(ini.get(), key.c_str(), nullptr) != nullptr;
        return present ? iniparser_getint(ini.get(), key.c_str(), otherwise) : otherwise;
    };
    CHECK(config.default_language == number("default_config:default_language", 0));
    CHECK(config.default_num == number("default_config:default_num", 0));
    CHECK(config.default_pos == number("default_config:defaule_pos", -1));
    CHECK(config.default_id == number("default_config:default_id", 0));
    CHECK(config.language_tmp == number("default_config:temperature_language", 0));
    for (int i = 1; i <= group.count; ++i) {
        const greeting_info &info = group.greetings[static_cast<size_t>(i - 1)];
        const std::string section = iniparser_getsecname(ini.get(), i);
        check_name(info.ch_name, ini.get(), section + ":ch_name");
        check_name(info.eng_name, ini.get(), section + ":eng_name");
        CHECK(info.greet_id == number(section + ":id", -1));
    }
    return 0;
}
