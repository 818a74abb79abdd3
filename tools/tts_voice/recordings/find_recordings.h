// Which clips the sound files of a directory become.
#ifndef TTS_VOICE_RECORDINGS_FIND_RECORDINGS_H
#define TTS_VOICE_RECORDINGS_FIND_RECORDINGS_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "common/failure.h"
#include "recordings/script.h"
#include "recordings/voice_texts.h"

namespace tts_voice {

// Clip in the tree -> recording below `directory`. `script` has the names of the English words and
// the greetings that the voice knows. Throws `failure` that names every file that is not a
// recording of a clip, or when there are none.
std::map<std::string, std::filesystem::path> find_recordings(const std::filesystem::path &directory,
                                                             const voice_phones &phones,
                                                             const std::vector<recording> &script);

// One message for all that is wrong with recordings.
tts_tools::failure unusable(const std::vector<std::string> &problems);

}  // namespace tts_voice

#endif
