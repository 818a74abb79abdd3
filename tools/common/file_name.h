// Names of files that come from a file: of clips in lexicons, lists and greetings.ini.
#ifndef TTS_TOOLS_FILE_NAME_H
#define TTS_TOOLS_FILE_NAME_H

#include <string>
#include <string_view>

namespace tts_tools {

constexpr size_t kLongestFileName = 255;  // bytes, what Linux file systems take

// Why a name is not that of a file in the directory that it is meant for: it would lead out of
// there, or no file can have it. "holds a slash", for messages; empty when it is a plain name.
inline std::string fault_of_file_name(std::string_view name, size_t longest = kLongestFileName) {
    if (name.empty()) return "is empty";
    if (name == "." || name == "..") return "is a directory";
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '/') return "holds a slash";
        if (byte < 0x20 || byte == 0x7f) return "holds a control character";
    }
    if (name.size() <= longest) return "";
    return "has " + std::to_string(name.size()) + " bytes, at most " + std::to_string(longest) +
           " are possible";
}

}  // namespace tts_tools

#endif
