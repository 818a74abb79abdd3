/* tts-engine: turns one line of mixed Chinese and English text into a WAV image in the caller's
 * buffer, by joining prerecorded clips.
 *
 * Lengths are bytes unless a name says otherwise. Audio is mono, 16000 Hz, signed 16-bit
 * little-endian. Text is UTF-8.
 *
 * The library is single-threaded: it takes no locks, and no two calls may overlap, on one handle or
 * on two. It reads the lexicons and clips below "/usr/share/tts/", the resource tree, and writes no
 * files. Diagnostics go to the platform log with the tag "TTS_ENGINE", a few lines to standard
 * output.
 *
 * The functions may throw C++ exceptions: std::bad_alloc, and those named at tts_getWavData. On a
 * sound tree, a C host that passes only what is allowed below can meet, apart from std::bad_alloc,
 * only std::out_of_range, for a quantity made of zeros ("000", "0000度"). docs/host.md says which,
 * and how to catch it.
 */
#ifndef TTS_EXT_H
#define TTS_EXT_H

#ifdef __cplusplus
extern "C" {
#endif

/* Where the greetings of a request are played. Any other value plays no greeting. */
typedef enum {
    GREETING_CLOSE = -1, /* no greetings */
    GREETING_AHEAD = 0,  /* before the speech */
    GREETING_END = 1     /* after the speech */
} greeting_positon_e;

/* The greetings of one request; the caller's, read during the call only. */
typedef struct {
    int language_type; /* 0 Chinese greetings, 1 English greetings; any other plays none */
    int greeting_num;  /* how many of the ids to play */
    int *greeting_id;  /* indexes of the greetings in the configuration, from 0. Null, or at least
                        * TWO ids, whatever greeting_num is: the first two are always read. The
                        * first id that is negative or beyond the configured number ends the
                        * list. */
    greeting_positon_e pos;
} greet_param_t;

/* Starts an engine on the resource tree "/usr/share/tts/".
 *
 * Returns the handle for tts_getWavData, never null. It is valid until the process ends and cannot
 * be released. Each call makes an independent engine. A missing lexicon ends the process with
 * exit(-1), a missing greetings configuration with exit(0); both are logged first. A missing
 * greeting clip is logged and silent. */
void *tts_init(void);

/* Speaks `str` into `out_buf`.
 *
 * hdl: from tts_init.
 *
 * str: UTF-8, NUL-terminated; read during the call only.
 *
 * out_buf: the caller's, `buf_size` bytes; receives the WAV image, or is left untouched if it does
 * not fit.
 *
 * out_size: receives the size of the image in bytes, its 44-byte header included; 0 if it does not
 * fit.
 *
 * buf_size: capacity of `out_buf` in bytes.
 *
 * pGreeting: the greetings, the caller's; null plays the configured defaults.
 *
 * Text that cannot be spoken is not an error: the image then contains only the leading pause and
 * the greetings, and the log says why. Throws std::logic_error if `str` is null, and
 * std::out_of_range for a quantity of zeros ("000", "0000度"), for a greeting id of 64 or more that
 * is at most the number of configured greetings, for a character on a tree with an empty phone list
 * (yinsu.txt), and for a temperature phrase with more clips than the text has characters left. What
 * the request loaded is released before the exception leaves. */
void tts_getWavData(void *hdl, char *str, char *out_buf, int *out_size, int buf_size,
                    greet_param_t *pGreeting);

#ifdef __cplusplus
}
#endif

#endif
