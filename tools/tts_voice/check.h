// Reads a finished voice back from disk and lists what the engine would stumble over.
#ifndef TTS_VOICE_CHECK_H
#define TTS_VOICE_CHECK_H

#include <filesystem>
#include <string>
#include <vector>

namespace tts_voice {

std::vector<std::string> faults_of(const std::filesystem::path &root);

}  // namespace tts_voice

#endif
