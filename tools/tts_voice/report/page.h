// The page of a report, page.html as it was at build time.
#ifndef TTS_VOICE_REPORT_PAGE_H
#define TTS_VOICE_REPORT_PAGE_H

namespace tts_voice {

extern const char kReportPage[];

}  // namespace tts_voice

#endif
