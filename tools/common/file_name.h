// Names of clips, which come from lexicons, lists and greetings.ini.
#ifndef TTS_COMMON_FILE_NAME_H
#define TTS_COMMON_FILE_NAME_H

#include <string>
#include <string_view>

namespace tts_tools {

constexpr size_t kLongestFileName = 255;  // bytes, the limit of Linux file systems

// Why `name` cannot be a file of the directory it is meant for: it leads out of that directory, or
// no file can have it. For messages: "the clip name "a/b" holds a slash"; empty for a plain name.
inline std::string fault_of_clip_name(std::string_view name, size_t longest = kLongestFileName) {
    std::string fault;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) fault = "holds a control character";
        if (c == '/') fault = "holds a slash";
        if (!fault.empty()) break;
    }
    if (name.empty()) fault = "is empty";
    if (name == "." || name == "..") fault = "is a directory";
    if (fault.empty() && name.size() > longest) {
        fault = "has " + std::to_string(name.size()) + " bytes, at most " +
                std::to_string(longest) + " are possible";
    }
    return fault.empty() ? "" : "the clip name \"" + std::string(name) + "\" " + fault;
}

}  // namespace tts_tools

#endif
