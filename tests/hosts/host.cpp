// A host in C++11, linked to the library or loading the one that TTS_LIBRARY names: speaks its
// argument into hello.wav.
#include <dlfcn.h>
#include <tts_ext.h>

#include <fstream>
#include <vector>

int main(int argc, char **argv) {
#ifdef TTS_LIBRARY
    void *const library = dlopen(TTS_LIBRARY, RTLD_NOW);
    const auto init = reinterpret_cast<decltype(&tts_init)>(dlsym(library, "tts_init"));
    const auto speak =
        reinterpret_cast<decltype(&tts_getWavData)>(dlsym(library, "tts_getWavData"));
#else
    const auto init = &tts_init;
    const auto speak = &tts_getWavData;
#endif
    int ids[2] = {0, 0};
    greet_param_t greeting = {0, 0, ids, GREETING_CLOSE};
    std::vector<char> image(1 << 20);
    int size = 0;
    speak(init(), argv[argc - 1], image.data(), &size, static_cast<int>(image.size()), &greeting);
    std::ofstream("hello.wav", std::ios::binary).write(image.data(), size);
    return size == 0;
}
