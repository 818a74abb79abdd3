// What a start-up leaves in memory. Usage: start_memory ROOT
// Ends its output with the KiB of heap taken from the system and of resident memory in all.
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "engine_start.h"
#include "tts_util.h"

int main(int argc, char **argv) {
    if (argc != 2) return 2;
    const void *volatile handle = tts_init_root(argv[1]);
    static_cast<void>(handle);
    const struct mallinfo2 heap = mallinfo2();
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    std::printf("%zu %ld\n", (heap.arena + heap.hblkhd) / 1024,
                pages * (sysconf(_SC_PAGESIZE) / 1024));
}
