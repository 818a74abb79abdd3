/* A host in C99: speaks its arguments, each an utterance, from the fixed tree and writes the images
 * one behind the other to standard output; the engine's log goes to standard error. */
#include <stdarg.h>
#include <stdio.h>

#include "tts_ext.h"

int __android_log_print(int priority, const char *tag, const char *format, ...);
int __android_log_print(int priority, const char *tag, const char *format, ...) {
    va_list args;
    fprintf(stderr, "%d/%s/", priority, tag);
    va_start(args, format);
    vfprintf(stderr, format, args);
    va_end(args);
    return 1;
}

static char image[1 << 16];
static void *engine;

int main(int argc, char **argv) {
    int ids[2] = {0, 0};
    greet_param_t greeting = {0, 1, ids, GREETING_AHEAD};
    int size = 0;
    engine = tts_init();
    for (int i = 1; i < argc; i++) {
        tts_getWavData(engine, argv[i], image, &size, (int)sizeof image, &greeting);
        if (fwrite(image, 1, (size_t)size, stdout) != (size_t)size) return 2;
    }
    return 0;
}
