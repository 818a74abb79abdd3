// The kinds of findings: level, code, what follows from it, how to put it right. A constant is
// named after its code.
#ifndef TTS_VOICE_CHECK_KINDS_H
#define TTS_VOICE_CHECK_KINDS_H

#include "check/check.h"

namespace tts_voice {

struct finding_kind {
    severity level;
    const char *code, *effect, *fix;
};

namespace kinds {

constexpr severity kError = severity::error, kWarning = severity::warning;

// ---- the tree ----

inline constexpr finding_kind kFileMissing = {
    kError, "file-missing", "the engine ends its process at start-up",
    "add the file; where there is nothing to put into it, an empty one"};
inline constexpr finding_kind kFileUnreadable = {
    kError, "file-unreadable", "the engine takes the file for an empty one, or does not start",
    "make it a regular file that everybody may read"};
inline constexpr finding_kind kDirectoryMissing = {
    kError, "directory-missing",
    "texts that need a clip from there lack it, or stay silent as a whole; without greetingRaw the "
    "engine ends its process at start-up",
    "add the directory with its clips; everybody must be allowed to enter it"};

// ---- the bytes of a text file ----

inline constexpr finding_kind kCarriageReturn = {
    kError, "carriage-return",
    "the carriage return counts as part of the name: nothing is found by it, and texts lack a word "
    "or stay silent",
    "end lines with a line feed only: sed -i 's/\\r$//' FILE"};
inline constexpr finding_kind kByteOrderMark = {kError, "byte-order-mark",
                                                "the first line of the file is never found",
                                                "save the file as UTF-8 without byte-order mark"};
inline constexpr finding_kind kNotUtf8 = {
    kError, "not-utf8", "what the line was meant for is not spoken",
    "save the file as UTF-8: iconv -f GB18030 -t UTF-8, for example"};
inline constexpr finding_kind kNoEquals = {kError, "no-equals",
                                           "the line counts as a key and as its own value: what it "
                                           "was meant for is spoken otherwise or not "
                                           "at all, or silences the text",
                                           "write KEY=VALUE, without blanks around the sign"};
inline constexpr finding_kind kEmptyLine = {kWarning, "empty-line", "none", "delete the line"};
inline constexpr finding_kind kDuplicateKey = {kWarning, "duplicate-key", "none",
                                               "delete one of the lines"};
inline constexpr finding_kind kConflictingKey = {
    kError, "conflicting-key", "one of the two has no effect", "delete the wrong line"};
inline constexpr finding_kind kKeyUnreachable = {
    kWarning, "key-unreachable", "none: no text is ever looked up by this key",
    "write the key as the engine cuts texts, or delete the line"};

inline constexpr finding_kind kClipName = {
    kError, "clip-name",
    "a file of another directory, whatever it holds, or nothing: every text with it stays silent",
    "name a file of the directory: no slash, no control character, at most 255 bytes"};

// ---- phones ----

inline constexpr finding_kind kPhoneListEmpty = {
    kError, "phone-list-empty", "Chinese text ends in an exception", "list the phones"};
inline constexpr finding_kind kPhoneRepeated = {kWarning, "phone-repeated", "none",
                                                "delete one of the lines"};
inline constexpr finding_kind kLastPhoneRepeated = {
    kError, "last-phone-repeated",
    "the search for a phone ends at the earlier copy: readings listed after it stay silent",
    "delete one of the lines"};
inline constexpr finding_kind kPhoneWithoutClip = {
    kError, "phone-without-clip", "texts that need the phone lack it, or stay silent as a whole",
    "record the clip, or take the phone off yinsu.txt"};
inline constexpr finding_kind kClipWithoutPhone = {
    kWarning, "clip-without-phone", "none: the clip is never played",
    "list the phone in yinsu.txt, or delete the clip"};
inline constexpr finding_kind kShortPauseMissing = {
    kError, "short-pause-missing", "every text with a character without reading stays silent",
    "add some 150 ms of silence as pinyinRaw/pau_short"};

// ---- readings ----

inline constexpr finding_kind kReadingNotPhone = {
    kError, "reading-not-phone", "every text with this character stays silent",
    "correct the reading, or add the phone and its clip"};
inline constexpr finding_kind kReadingCompleted = {
    kWarning, "reading-completed", "the character is spoken in the first tone",
    "write the tone; for a neutral one, list the reading as a phone"};
inline constexpr finding_kind kThirdToneWithoutSecond = {
    kWarning, "third-tone-without-second",
    "before another third tone the syllable keeps its own: it sounds foreign",
    "add the phone in the second tone and its clip"};

// ---- surnames ----

inline constexpr finding_kind kSurnameWithoutClip = {
    kError, "surname-without-clip", "every text that begins with this name stays silent",
    "record the clip, or delete the line"};
inline constexpr finding_kind kSurnamePlainClip = {
    kWarning, "surname-plain-clip", "the name is spoken as at the end of a sentence",
    "record the clip for the beginning of a sentence"};

// ---- temperature phrases ----

inline constexpr finding_kind kPhraseTooManyNames = {
    kError, "phrase-too-many-names",
    "the surplus clips are not played; at the end of a text the request ends in an exception",
    "name at most one clip for each character"};
inline constexpr finding_kind kPhraseWithoutNames = {
    kError, "phrase-without-names", "the phrase is left out", "name its clips, or delete the line"};
inline constexpr finding_kind kPhraseNameNotPhone = {
    kError, "phrase-name-not-phone",
    "the phrase is spoken syllable by syllable; one of a single character may silence the text",
    "list the clip's name in yinsu.txt; names are separated by one blank"};
inline constexpr finding_kind kPhraseHidesOthers = {
    kWarning, "phrase-hides-others",
    "a text with this key has no phrase spoken from its clip, not even a shorter one",
    "take letters, digits and signs out of the key, or delete the line"};

// ---- English ----

inline constexpr finding_kind kEnglishOddLines = {kError, "english-odd-lines",
                                                  "the last word is silent",
                                                  "give every word a line of clips below it"};
inline constexpr finding_kind kEnglishBlankLine = {
    kError, "english-blank-line",
    "words and clips are mixed up from here on: words stay silent, or silence whole texts",
    "delete the line; every word has one line of clips below it"};
inline constexpr finding_kind kEnglishPieceMissing = {
    kError, "english-piece-missing",
    "the word lacks a part; when it has no other, every text with it stays silent",
    "record the clip, or correct its name; names have their extension"};

// ---- greetings and the leading pause ----

inline constexpr finding_kind kGreetingsUnreadable = {kError, "greetings-unreadable",
                                                      "the engine ends its process at start-up",
                                                      "correct the line: [section] or key = value"};
inline constexpr finding_kind kGreetingsFirstSection = {
    kError, "greetings-first-section",
    "the first section is taken for the settings: greetings are missing, or others are played",
    "make [default_config] the first section"};
inline constexpr finding_kind kGreetingsTooMany = {
    kError, "greetings-too-many",
    "a request for a later greeting ends in an exception, or plays none",
    "keep at most 64 sections besides [default_config]"};
inline constexpr finding_kind kGreetingKeyMisspelt = {
    kWarning, "greeting-key-misspelt", "the setting has no effect", "write the key as it is read"};
inline constexpr finding_kind kGreetingNameLong = {kError, "greeting-name-long",
                                                   "the greeting stays silent",
                                                   "give the clip a name of at most 31 bytes"};
inline constexpr finding_kind kGreetingWithoutName = {kWarning, "greeting-without-name",
                                                      "the greeting stays silent in this language",
                                                      "name its clip"};
inline constexpr finding_kind kGreetingWithoutClip = {
    kError, "greeting-without-clip", "the greeting stays silent",
    "record the clip, or correct its name; names have their extension"};
inline constexpr finding_kind kGreetingId = {
    kWarning, "greeting-id",
    "a host that goes by the ids plays another greeting: requests count the sections from 0",
    "number the sections from 0 in their order"};
inline constexpr finding_kind kGreetingDefault = {
    kError, "greeting-default", "the greeting by default is not played",
    "name an existing greeting, language 0 or 1, and a place of -1, 0 or 1"};
inline constexpr finding_kind kLeadingPauseMissing = {
    kError, "leading-pause-missing", "speech begins at once: some players swallow its start",
    "add some 80 ms of silence as greetingRaw/pau_beg"};
inline constexpr finding_kind kLeadingPauseLong = {
    kWarning, "leading-pause-long", "every text is spoken late", "shorten it to some 80 ms"};

// ---- clips ----

inline constexpr finding_kind kClipUnused = {
    kWarning, "clip-unused", "none: the clip is never played", "name it in its list, or delete it"};
inline constexpr finding_kind kClipUnreadable = {
    kError, "clip-unreadable", "texts that need the clip lack it, or stay silent as a whole",
    "make it a regular file of less than 2 GiB that everybody may read"};
inline constexpr finding_kind kClipEmpty = {kError, "clip-empty",
                                            "texts that need the clip lack it, or stay silent",
                                            "record it; for silence, a few zero samples"};
inline constexpr finding_kind kClipOddBytes = {
    kError, "clip-odd-bytes", "everything after this clip is noise",
    "clips are 16-bit samples: cut off or restore the odd byte"};
inline constexpr finding_kind kClipHeader = {kError, "clip-header", "a crack before the sound",
                                             "convert it: sox IN.wav -r 16000 -c 1 -b 16 OUT.raw"};
inline constexpr finding_kind kClipRate = {
    kWarning, "clip-rate", "the sound is too high and quick, or too low and slow",
    "clips have 16000 samples a second, one channel: convert the recording again"};
inline constexpr finding_kind kClipSilent = {kWarning, "clip-silent", "a gap in the speech",
                                             "record the clip again"};
inline constexpr finding_kind kClipClipping = {kWarning, "clip-clipping", "the sound rasps",
                                               "record it again with less gain"};
inline constexpr finding_kind kClipDcOffset = {
    kWarning, "clip-dc-offset", "clicks where the clip begins and ends", "high-pass it at 60 Hz"};
inline constexpr finding_kind kClipEdgeSilence = {
    kWarning, "clip-edge-silence", "speech halts around the clip", "trim the silence"};
inline constexpr finding_kind kClipEdgeStep = {kWarning, "clip-edge-step",
                                               "a click where the clip is joined to the next one",
                                               "fade it in over 2 ms and out over 5 ms"};
inline constexpr finding_kind kClipLoudness = {
    kWarning, "clip-loudness", "the sound leaps out of the speech, or drops out of it",
    "bring it to the level of the voice"};

}  // namespace kinds

}  // namespace tts_voice

#endif
