// A host in C++11: speaks its argument into hello.wav.
#include <tts_ext.h>

#include <fstream>
#include <vector>

int main(int argc, char **argv) {
    int ids[2] = {0, 0};
    greet_param_t greeting = {0, 0, ids, GREETING_CLOSE};
    std::vector<char> image(1 << 20);
    int size = 0;
    tts_getWavData(tts_init(), argv[argc - 1], image.data(), &size, static_cast<int>(image.size()),
                   &greeting);
    std::ofstream("hello.wav", std::ios::binary).write(image.data(), size);
    return size == 0;
}
