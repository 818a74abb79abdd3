// A whole tree from bytes, then a request. Calls that fail during start-up and in a first request
// must leave an engine that still speaks.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <memory>

#include "made_tree.h"

// ---- the engine's calls: these definitions come before those of the C library ----

namespace {

fault failing;

bool fails(enum fault::kind kind) {
    const bool reads = kind == fault::reading && failing.kind == fault::reading_less;
    if ((kind != failing.kind && !reads) || failing.number <= 0) return false;
    errno = EIO;
    return --failing.number == 0;
}

template <typename Function>
Function *libc(Function *, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {
int open(const char *path, int flags, ...) {
    static const auto real = libc(open, "open");
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return fails(fault::opening) ? -1 : real(path, flags, mode);
}
ssize_t read(int file, void *to, size_t size) {
    static const auto real = libc(read, "read");
    if (!fails(fault::reading)) return real(file, to, size);
    return failing.kind == fault::reading ? -1 : real(file, to, std::min<size_t>(size, 1));
}
ssize_t pread(int file, void *to, size_t size, off_t from) {
    static const auto real = libc(pread, "pread");
    if (!fails(fault::reading)) return real(file, to, size, from);
    return failing.kind == fault::reading ? -1 : real(file, to, std::min<size_t>(size, 1), from);
}
}

// ---- the target ----

namespace {

// Whether phrases can be descrambled: the zero bytes of a missing clip are a buffer that no one
// releases, as those of an empty file, so there must be none.
bool require_phrase_clips(made_tree &made, const dict_map &phrases) {
    return std::all_of(phrases.begin(), phrases.end(), [&](const auto &phrase) {
        const std::vector<std::string> names = pieces_of(phrase.second, ' ');
        return std::all_of(names.begin(), names.end(), [&](const std::string &name) {
            return made.require_clip("pinyinRaw/" + name);
        });
    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const resource_tree tree;
    input bytes(data, size);
    made_tree made(tree, bytes);
    // A file that cannot be loaded ends the process: that is the library's contract.
    if (!made.loads()) return 0;
    const request_limits limits = made.limits();
    const leak_permission permission(limits.may_leak);
    if (made.failing.kind != fault::opening) failing = made.failing;
    const std::unique_ptr<tts_engine_t, engine_owner> engine(
        static_cast<tts_engine_t *>(tts_init_root(tree.root)));
    CHECK(engine->temp_language == 0);
    const int language = bytes.number() % 4;  // 2 and 3 descramble phrase clips
    if (language < 2 || require_phrase_clips(made, engine->dict_temp))
        engine->temp_language = language;
    if (made.failing.kind == fault::opening) failing = made.failing;
    if (failing.number > 0) {
        const std::string text = bytes.rest();
        speak(*engine, text.substr(0, text.find('\0')), nullptr, limits.capacity, limits, nullptr);
    }
    failing = {};
    check_request(*engine, bytes, limits);
    return 0;
}
