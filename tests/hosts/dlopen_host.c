/* A host that loads the library TTS_LIBRARY when it runs: speaks its argument into hello.wav. */
#include <dlfcn.h>
#include <stdio.h>
#include <tts_ext.h>

static char image[1 << 20];

int main(int argc, char **argv) {
    int ids[2] = {0, 0};
    greet_param_t greeting = {0, 0, ids, GREETING_CLOSE};
    void *(*init)(void);
    void (*speak)(void *, char *, char *, int *, int, greet_param_t *);
    void *library = dlopen(TTS_LIBRARY, RTLD_NOW);
    FILE *wav = fopen("hello.wav", "wb");
    int size = 0;
    if (library == NULL || wav == NULL) {
        fprintf(stderr, "%s\n", library == NULL ? dlerror() : "cannot write hello.wav");
        return 1;
    }
    *(void **)&init = dlsym(library, "tts_init");
    *(void **)&speak = dlsym(library, "tts_getWavData");
    speak(init(), argv[argc - 1], image, &size, (int)sizeof image, &greeting);
    fwrite(image, 1, (size_t)size, wav);
    return fclose(wav) != 0;
}
