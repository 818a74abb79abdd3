// Clips in a form that every browser plays, small enough for a page with thousands of them.
#ifndef TTS_VOICE_REPORT_AUDIO_H
#define TTS_VOICE_REPORT_AUDIO_H

#include <string>
#include <string_view>

#include "sound/samples.h"

namespace tts_voice {

// An MP3 file of some 40 kbit/s. Opus would be a quarter smaller, but takes four times as long to
// make and is not played everywhere.
std::string to_mp3(const samples &clip);

std::string to_base64(std::string_view bytes);

}  // namespace tts_voice

#endif
