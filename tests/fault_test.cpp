// Calls that fail, files that change after the start, and files beyond all measure.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <new>

#include "tiny_voice.h"

// ---- the engine's calls: these definitions come before those of the C library ----

enum call {
    object,
    memory,
    opening,
    reading,
    status
};  // operator new, malloc, open and fopen, ...

static struct {
    bool armed = false;  // nothing fails and nothing is counted without it
    call kind = object;
    int number = 0;  // the call of this kind that fails, from 1 on; 0: none
    int error = 0;   // its errno; 0: reads one byte only
    int calls = 0;
    bool met = false;  // the call came
    long blocks = 0;   // of memory, not released
    int written = 0;   // files opened for writing
} faults;

#define UNCHECKED __attribute__((no_sanitize("address")))  // called before the checker is ready

// dlsym needs memory itself. The sanitizer, where it is there, has its own.
extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void __libc_free(void *);
__attribute__((weak)) void *__interceptor_malloc(size_t);
__attribute__((weak)) void *__interceptor_calloc(size_t, size_t);
__attribute__((weak)) void __interceptor_free(void *);
const char *__asan_default_options() {
    return "quarantine_size_mb=1";
}  // peaks are measured
}

static bool fails(call kind) {
    if (!faults.armed || kind != faults.kind) return false;
    // A clip asks for memory again when its first request fails: that fails too.
    const int after = ++faults.calls - faults.number;
    if (after != 0 && (after != 1 || kind != memory)) return false;
    errno = faults.error;
    return faults.met = true;
}

UNCHECKED static void *counted(void *block) {
    if (faults.armed && block != nullptr) faults.blocks++;
    return block;
}

UNCHECKED static void *allocate(size_t size) {
    return counted((__interceptor_malloc != nullptr ? __interceptor_malloc : __libc_malloc)(size));
}

void *operator new(size_t size) {
    void *const block = fails(object) ? nullptr : allocate(size);
    return block != nullptr ? block : throw std::bad_alloc();
}
void operator delete(void *block) noexcept {
    free(block);
}
void operator delete(void *block, size_t) noexcept {
    free(block);
}

template <typename Function>
static Function *libc(Function *, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

extern "C" {
UNCHECKED void *malloc(size_t size) noexcept {
    return faults.armed && fails(memory) ? nullptr : allocate(size);
}
// Does not fail: only the INI library calls it, and crashes without the arrays it asked for.
UNCHECKED void *calloc(size_t n, size_t size) noexcept {
    return counted(
        (__interceptor_calloc != nullptr ? __interceptor_calloc : __libc_calloc)(n, size));
}
UNCHECKED void free(void *block) noexcept {
    if (faults.armed && block != nullptr) faults.blocks--;
    (__interceptor_free != nullptr ? __interceptor_free : __libc_free)(block);
}
int open(const char *path, int flags, ...) {
    static const auto real = libc(open, "open");
    if ((flags & (O_ACCMODE | O_CREAT)) != O_RDONLY && faults.armed) faults.written++;
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return fails(opening) ? -1 : real(path, flags, mode);
}
FILE *fopen(const char *path, const char *mode) {
    static const auto real = libc(fopen, "fopen");
    if (mode[0] != 'r' && faults.armed) faults.written++;
    return fails(opening) ? nullptr : real(path, mode);
}
int fstat(int file, struct stat *to) noexcept {
    static const auto real = libc(fstat, "fstat");
    return fails(status) ? -1 : real(file, to);
}
// Delivers nothing, so that every clip goes the long way: fstat and read.
ssize_t pread(int file, void *to, size_t size, off_t from) {
    static const auto real = libc(pread, "pread");
    return faults.armed ? 0 : real(file, to, size, from);
}
ssize_t read(int file, void *to, size_t size) {
    static const auto real = libc(read, "read");
    const bool failed = fails(reading);
    return failed && faults.error != 0 ? -1 : real(file, to, failed ? 1 : size);
}
}

// ---- the engine's log ----

strings log_lines;
static std::string errors, last_line;

extern "C" __attribute__((format(printf, 3, 4))) int __android_log_print(int priority,
                                                                         const char *tag,
                                                                         const char *format, ...);
int __android_log_print(int priority, const char * /*tag*/, const char *format, ...) {
    const bool armed = std::exchange(faults.armed, false);
    char text[256];  // enough for what is compared
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    last_line = text;
    if (priority == 6) errors += last_line;
    faults.armed = armed;
    return 1;
}

strings words_of(const std::string &text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

// ---- tests ----

namespace {

// Every kind of clip: a surname with its second choice, a word of two pieces, a phrase, a double
// clip, a third tone, a syllable, the pause and a greeting.
class Fault : public TinyVoice {
  protected:
    Fault() {
        file("pinyin_dict.txt", "天=tian1\n你=ni3\n好=hao3\n");
        file("surname_pinyin_single.txt", "单=shan4\n");
        file("eng_dict.txt", "hi\na,b\n");
        file("dst_temperature.txt", "五度=wu3 du4\n");
        phones("shan4 shan4_1 tian1 tian1_tian1 wu3 du4 ni2 ni3 hao3");
        clips("engRaw/", "a b");
        greetings(1);
    }
    void plan(call kind, int number, int error) {
        faults = {};
        faults.kind = kind;
        faults.number = number;
        faults.error = error;
        errors.clear();
    }
    // Runs a call of the engine while the plan holds.
    std::string run(const std::function<void()> &call) {
        std::string end;
        faults.armed = true;
        try {
            call();
        } catch (const std::bad_alloc &) {
            end = "bad_alloc";
        }
        faults.armed = false;
        return end;
    }
    static int free_descriptor() {
        const int lowest = dup(0);
        close(lowest);
        return lowest;
    }
    // What a request says, or "bad_alloc"; and whether it kept or wrote anything.
    std::string say(const std::string &text = "单hi五度天天你好") {
        std::string copy = text, buffer(1 << 14, '#');
        int size = -1, ids[] = {0, 0};
        greet_param_t greeting{0, 1, ids, GREETING_AHEAD};
        const int alive = malloc_count - free_count, descriptor = free_descriptor();
        std::string end = run([&] {
            tts_getWavData(engine.get(), copy.data(), buffer.data(), &size, 1 << 14, &greeting);
        });
        if (malloc_count - free_count != alive) end += " clip kept";
        if (faults.blocks != 0 || free_descriptor() != descriptor) end += " leak";
        if (faults.written != 0) end += " writes";
        return heard(buffer.substr(0, static_cast<size_t>(size))) + end;
    }
    // How a start-up ends: "bad_alloc", or the lexicons' size and the greeting clips; and whether
    // anything is left when the engine is gone.
    std::string start_up() {
        stop();
        malloc_count = free_count = 0;
        const int descriptor = free_descriptor();
        std::string end =
            run([&] { engine.reset(static_cast<tts_engine_t *>(tts_init_root(root))); });
        int alive = malloc_count - free_count;
        if (engine != nullptr) {
            end += std::to_string(total_mem);
            for (const auto &slot : {engine->greetingData_ch[0], engine->greetingData_eng[0]}) {
                if (slot.rawData.addr == nullptr) continue;
                end += " " + heard(slot.rawData);
                alive--;
            }
        }
        faults.number = 0;
        run([&] { stop(); });
        if (alive != 0) end += " clip kept";
        if (faults.blocks != 0 || free_descriptor() != descriptor) end += " leak";
        return faults.written != 0 ? end + " writes" : end;
    }
    const std::string whole = "ch0 pau_beg shan4_1 a b wu3 du4 tian1_tian1 ni2 hao3";
};

long status_kb(const std::string &field) {
    std::ifstream in("/proc/self/status");
    for (std::string word; in >> word;) {
        if (word == field + ":" && in >> word) return std::stol(word);
    }
    return -1;
}

// The two ways in which a start-up ends the process.
constexpr int kDocumentedExit = 77;
void documented_exit(int end, void * /*unused*/) {
    const bool told = (end == 0 && last_line == "Failed to iniparser load") ||
                      (end == -1 && last_line == "ERROR! open tts dict file failed. \n");
    _exit(told ? kDocumentedExit : 1);
}

}  // namespace

TEST_F(Fault, ClipWithoutItsCallIsSilent) {
    static const struct {
        const char *lost;  // the clip whose call fails, or the message of a failed allocation
        const char *heard;
    } rows[] = {
        {"pinyinRaw/shan4_1", "ch0 pau_beg shan4 a b wu3 du4 tian1_tian1 ni2 hao3"},
        {"engRaw/a", "ch0 pau_beg shan4_1 b wu3 du4 tian1_tian1 ni2 hao3"},
        {"engRaw/b", "ch0 pau_beg shan4_1 a wu3 du4 tian1_tian1 ni2 hao3"},
        {"ERROR! no memory for word hi\n", "ch0 pau_beg"},
        {"pinyinRaw/wu3", "ch0 pau_beg shan4_1 a b du4 tian1_tian1 ni2 hao3"},
        {"pinyinRaw/du4", "ch0 pau_beg shan4_1 a b wu3 tian1_tian1 ni2 hao3"},
        {"pinyinRaw/tian1_tian1", "ch0 pau_beg shan4_1 a b wu3 du4 ni2 hao3"},
        {"pinyinRaw/ni2", "ch0 pau_beg shan4_1 a b wu3 du4 tian1_tian1 hao3"},
        {"pinyinRaw/hao3", "ch0 pau_beg"},
        {"greetingRaw/pau_beg", "ch0 shan4_1 a b wu3 du4 tian1_tian1 ni2 hao3"},
    };
    start();
    const std::pair<call, int> kinds[] = {
        {opening, EMFILE}, {status, EIO}, {reading, EIO}, {memory, ENOMEM}};
    for (const auto &[kind, error] : kinds) {
        int n = 1;
        for (const auto &row : rows) {
            const bool clip = row.lost[0] != 'E';
            if (!clip && kind != memory) continue;
            plan(kind, n, error);
            EXPECT_EQ(say(), row.heard) << row.lost << ", kind " << kind;
            EXPECT_EQ(errors, clip ? "ERROR! open " + root + row.lost +
                                         " fail! error = " + std::to_string(error) + "\n"
                                   : row.lost);
            n += kind == memory && clip ? 2 : 1;
        }
        plan(kind, n, error);
        EXPECT_EQ(say(), whole);
        EXPECT_FALSE(faults.met) << "a call that no row names, kind " << kind;
    }
}

TEST_F(Fault, PhraseClipWithoutMemoryToDescrambleIsSilent) {
    start();
    engine->temp_language = JANPANESE;
    for (const char *name : {"wu3", "du4"}) {
        std::string bytes = samples(name);
        de_encrypt(static_cast<int>(bytes.size()), bytes.data(), bytes.data());
        file(std::string("pinyinRaw/") + name, bytes);
    }
    static const std::pair<int, const char *> rows[] = {
        {0, "ch0 pau_beg wu3 du4"}, {3, "ch0 pau_beg du4"}, {6, "ch0 pau_beg wu3"}};
    for (const auto &[number, heard] : rows) {
        plan(memory, number, ENOMEM);
        EXPECT_EQ(say("五度"), heard);
        EXPECT_EQ(errors.find("ERROR! no memory to descramble") == 0, number != 0);
    }
}

TEST_F(Fault, RequestGoesOnOrEndsInBadAlloc) {
    static const struct {
        const char *fault;
        call kind;
        int error, calls;
        std::string heard;
    } rows[] = {{"a signal ends the reading", reading, EINTR, 9, whole},
                {"a short read counts as the whole", reading, 0, 9, whole},
                {"something stays behind an exception", object, ENOMEM, 25, "bad_alloc"}};
    start();
    for (const auto &row : rows) {
        int n = 0;
        do {
            plan(row.kind, ++n, row.error);
            const std::string said = say();
            EXPECT_EQ(said, faults.met ? row.heard : whole) << row.fault << ", call " << n;
        } while (faults.met);
        EXPECT_GT(n, row.calls) << row.fault;
    }
}

TEST_F(Fault, StartUpEndsAsDocumented) {
    static const struct {
        call kind;
        int error, exits, calls;  // how often the process ends, of how many calls at least
        const char *may_lose;     // without a line in the log
    } rows[] = {{object, ENOMEM, 0, 40, ""},
                {opening, EMFILE, 7, 9, ""},
                {status, EIO, 0, 2, ""},
                {reading, EINTR, 0, 9, ""},
                {reading, EIO, 0, 9, "lexicon"},       // counts as the end of the file
                {memory, ENOMEM, 1, 15, "greeting"}};  // the INI library leaves out keys
    plan(status, 0, 0);
    const std::string all = start_up(), size = all.substr(0, all.find(' '));
    ASSERT_EQ(all, size + " ch0 en0");
    for (const auto &row : rows) {
        const std::string may_lose = row.may_lose;
        const auto as_documented = [&](int n) {
            plan(row.kind, n, row.error);
            std::string got = start_up();
            std::string expected = row.kind == object && faults.met ? "bad_alloc" : all;
            for (const std::string name : {" ch0", " en0"}) {
                const std::string path = root + "greetingRaw/" + name.substr(1);
                const bool told = errors.find("ERROR! open " + path + " fail!") == 0;
                const size_t kept = got.find(name);
                if (told || (may_lose == "greeting" && kept == std::string::npos))
                    expected.erase(expected.find(name), name.size());
            }
            if (may_lose == "lexicon") {
                got.erase(0, got.find(' '));
                expected.erase(0, expected.find(' '));
            }
            if (got != expected) std::cerr << got << " instead of " << expected << "\n";
            return got == expected;
        };
        int n = 0, exits = 0;
        do {
            const pid_t child = row.exits != 0 ? fork() : 0;
            bool good = true;
            if (child == 0) {
                if (row.exits != 0) on_exit(documented_exit, nullptr);
                good = as_documented(++n);
                if (row.exits != 0) _exit(!good ? 1 : faults.met ? 0 : 2);
            } else {
                int ended = 0;
                waitpid(child, &ended, 0);
                faults.met = ended != 2 << 8;
                exits += ended == kDocumentedExit << 8;
                good = ended == 0 || !faults.met || ended == kDocumentedExit << 8;
                n++;
            }
            EXPECT_TRUE(good) << "kind " << row.kind << ", call " << n;
        } while (faults.met);
        EXPECT_EQ(exits, row.exits) << "kind " << row.kind;
        EXPECT_GT(n, row.calls) << "kind " << row.kind;
    }
}

// A section may be named like a key: the INI library then has a key without value.
TEST_F(Fault, SectionNamedLikeAKeyIsNoValue) {
    for (const std::string key : {"default_config:default_id", "g:id", "g:ch_name", "g:eng_name"}) {
        file("greetingRaw/greetings.ini", "[default_config]\n[g]\n[" + key + "]\n");
        plan(status, 0, 0);
        EXPECT_EQ(start_up(), std::to_string(total_mem)) << key;
    }
}

TEST_F(Fault, FilesChangeAfterTheStart) {
    using std::filesystem::path;
    static const struct {
        const char *fault;
        void (*change)(const path &clip);  // which is gone before
        const char *heard;
    } rows[] = {
        {"removed", [](const path &) {}, "ch0 pau_beg"},
        {"directory", [](const path &p) { create_directory(p); }, "ch0 pau_beg"},
        {"dangling link", [](const path &p) { create_symlink("none", p); }, "ch0 pau_beg"},
        {"link to itself", [](const path &p) { create_symlink(p, p); }, "ch0 pau_beg"},
        {"empty", [](const path &p) { std::ofstream{p}; }, "ch0 pau_beg"},
        {"odd", [](const path &p) { std::ofstream(p) << "abcde"; }, "ch0 pau_beg ni2 ?"},
        {"grown", [](const path &p) { copy(p.parent_path() / "longer", p); },
         "ch0 pau_beg ni2 hao3 hao3"},
        {"tree gone", [](const path &p) { remove_all(p.parent_path().parent_path()); }, "ch0"},
    };
    start();
    file("pinyinRaw/longer", samples("hao3") + samples("hao3"));
    for (const auto &row : rows) {
        std::filesystem::remove_all(root + "pinyinRaw/hao3");
        row.change(root + "pinyinRaw/hao3");
        plan(opening, 0, 0);
        EXPECT_EQ(say("你好"), row.heard) << row.fault;
    }
}

TEST_F(Fault, LexiconOf100MegabytesFitsInMemory) {
    const std::string reading = "=hao3" + std::string(4096, ' ') + "\n";
    std::string some;
    while (some.size() < 1000000) some += "好" + reading + "你" + reading;
    {
        std::ofstream out(root + "pinyin_dict.txt");
        for (size_t size = 0; size < 100000000; size += some.size()) out << some;
        out << "好=hao3\n你=ni3";
    }
    std::ofstream("/proc/self/clear_refs") << "5";  // the peak begins here
    const long before = status_kb("VmHWM");
    start();
    EXPECT_LT(status_kb("VmHWM") - before, 130000);  // the file once, not twice
    EXPECT_GT(total_mem, 100000000U);
    plan(opening, 0, 0);
    EXPECT_EQ(say("你好"), "ch0 pau_beg ni2 hao3");
}

TEST_F(Fault, LineOf10MegabytesIsALine) {
    const std::string line(10000000, '3');
    file("pinyin_dict.txt", "天=" + line + "\n你=ni3\n好=hao3");
    file("eng_dict.txt", "hi\n" + line + "\noh\na");
    file("yinsu.txt", line + "\nni2\nni3\nhao3");
    start();
    EXPECT_TRUE(engine->dict_pinyin["天"] == line);
    EXPECT_TRUE(engine->dict_english["hi"] == line);
    EXPECT_TRUE(engine->dict_phone.at(0) == line);
    plan(opening, 0, 0);
    EXPECT_EQ(say("oh你好"), "ch0 pau_beg a ni2 hao3");
    EXPECT_EQ(say("hi"), "ch0 pau_beg");  // a name too long for a file
    EXPECT_EQ(say("天好"), "ch0 pau_beg hao3");
}

TEST_F(Fault, OfTenThousandGreetings64AreLoaded) {
    std::string ini = "[default_config]\n";
    for (int n = 0; n < 10000; n++) ini += "[g" + std::to_string(n) + "]\nch_name=ch0\n";
    file("greetingRaw/greetings.ini", ini);
    start();
    EXPECT_EQ(engine->greet_count, 10000);
    EXPECT_EQ(malloc_count, 64);
    EXPECT_EQ(heard(engine->greetingData_ch[63].rawData), "ch0");
}
