// Calls that fail, each in its turn.
#include <fcntl.h>
#include <iniparser.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <map>
#include <new>
#include <utility>

#include "support/calls.h"
#include "support/tiny_voice.h"

// ---- the engine's calls: these definitions come before those of the C library ----

// operator new; malloc and calloc; open and fopen; read; fstat
enum call { object, memory, opening, reading, status };

static struct {
    call kind;
    int number;  // the call of this kind that fails, from 1 on; 0: none
    int error;   // its errno; 0: reads one byte only
    int calls;   // of this kind
    bool met;    // the call came
} faults;

static bool in_iniparser;  // its memory is proved to be there before: StartUpFindsItsMemoryOrThrows
static void *empty_blocks[16];  // what malloc(0) gave since the plan and nobody gave back
static size_t empty_block_count;

#define UNCHECKED __attribute__((no_sanitize("address")))  // called before the checker is ready

// dlsym needs memory itself. The sanitizer, where it is there, has its own.
extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void __libc_free(void *);
__attribute__((weak)) void *__interceptor_malloc(size_t);
__attribute__((weak)) void *__interceptor_calloc(size_t, size_t);
__attribute__((weak)) void __interceptor_free(void *);
__attribute__((weak)) int __lsan_do_recoverable_leak_check();
}

static bool fails(call kind) {
    if (!faults_armed || kind != faults.kind) return false;
    if (in_iniparser && kind == memory) return false;
    if (++faults.calls != faults.number) return false;
    errno = faults.error;
    return faults.met = true;
}

UNCHECKED static void *allocate(size_t size) {
    return (__interceptor_malloc != nullptr ? __interceptor_malloc : __libc_malloc)(size);
}

void *operator new(size_t size) {
    void *const block = fails(object) ? nullptr : allocate(size);
    return block != nullptr ? block : throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void *block) noexcept {
    free(block);
}
void operator delete(void *block, size_t) noexcept {
    operator delete(block);
}

extern "C" {
UNCHECKED void *malloc(size_t size) noexcept {
    void *const block = faults_armed && fails(memory) ? nullptr : allocate(size);
    if (faults_armed && size == 0 && block != nullptr) empty_blocks[empty_block_count++] = block;
    return block;
}
UNCHECKED void *calloc(size_t count, size_t size) noexcept {
    if (faults_armed && fails(memory)) return nullptr;
    return (__interceptor_calloc != nullptr ? __interceptor_calloc : __libc_calloc)(count, size);
}
UNCHECKED void free(void *block) noexcept {
    for (size_t i = 0; block != nullptr && i < empty_block_count; i++) {
        if (empty_blocks[i] == block) empty_blocks[i] = empty_blocks[--empty_block_count];
    }
    (__interceptor_free != nullptr ? __interceptor_free : __libc_free)(block);
}
dictionary *iniparser_load(const char *path) {
    in_iniparser = true;
    dictionary *const ini = REAL(iniparser_load)(path);
    in_iniparser = false;
    return ini;
}
int open(const char *path, int flags, ...) {  // the engine creates nothing
    return fails(opening) ? -1 : REAL(open)(path, flags);
}
FILE *fopen(const char *path, const char *mode) {
    return fails(opening) ? nullptr : REAL(fopen)(path, mode);
}
int fstat(int file, struct stat *to) noexcept {
    return fails(status) ? -1 : REAL(fstat)(file, to);
}
ssize_t read(int file, void *to, size_t size) {
    const bool failed = fails(reading);
    return failed && faults.error != 0 ? -1 : REAL(read)(file, to, failed ? 1 : size);
}
}

namespace {

// Every kind of clip: a surname with its second choice, a word of two pieces, a phrase, a double
// clip, a third tone, a syllable, the pause and a greeting.
class Fault : public TinyVoice {
  protected:
    Fault() {
        plan(object, 0, 0);
        file("pinyin_dict.txt", "天=tian1\n你=ni3\n好=hao3\n");
        file("surname_pinyin_single.txt", "单=shan4\n");
        file("eng_dict.txt", "hi\na,b\n");
        file("dst_temperature.txt", "五度=wu3 du4\n");
        phones("shan4 shan4_1 tian1 tian1_tian1 wu3 du4 ni2 ni3 hao3");
        clips("engRaw/", "a b");
        greetings(1);
    }
    static void plan(call kind, int number, int error) {
        faults = {kind, number, error, 0, false};
        while (empty_block_count > 0) free(empty_blocks[0]);
    }
    // The plan holds while the engine runs.
    void engine_call(const std::function<void()> &call) override {
        const struct arming {
            arming() { faults_armed = true; }
            ~arming() { faults_armed = false; }
        } armed;
        call();
    }
    // How a call of the engine ends: what it returns or "bad_alloc", and what it left behind.
    std::string outcome(const std::function<std::string()> &call) {
        const auto free_descriptor = [] {
            const int lowest = dup(0);
            close(lowest);
            return lowest;
        };
        const int descriptor = free_descriptor();
        std::string end;
        try {
            end = call();
        } catch (const std::bad_alloc &) {
            end = "bad_alloc";
        }
        return free_descriptor() == descriptor ? end : end + " file kept";
    }
    std::string say(const std::string &text = "单hi五度天天你好") {
        return outcome([&] { return speak(text, GREETING_AHEAD, {0}); });
    }
    // The lexicons' size and the greeting clips of a new engine, which is gone at the end.
    std::string start_up() {
        stop();
        log_lines.clear();
        int alive = 0;
        const std::string end = outcome([&] {
            start();
            faults.number = 0;
            std::string loaded = std::to_string(total_mem);
            for (const auto &slot : {engine->greetingData_ch[0], engine->greetingData_eng[0]}) {
                if (slot.rawData.addr == nullptr) continue;
                loaded += " " + heard(slot.rawData);
                alive++;
            }
            engine_call([this] { stop(); });
            return loaded;
        });
        return malloc_count - free_count == alive ? end : end + " clip kept";
    }
    const std::string whole = "ch0 pau_beg shan4_1 a b wu3 du4 tian1_tian1 ni2 hao3";
};

std::string told_at_exit;  // how the log's last error about a file ends when the start-up exits

// Runs `test` in a process of its own. 0: it returned true, 1: false, 2: the planned call did not
// come, 77: the start-up ended the process in one of its two ways.
int in_child(const std::function<bool()> &test) {
    const auto judge_exit = [](int end, void * /*unused*/) {
        const std::string last = log_lines.empty() ? "" : log_lines.back();
        const std::string errors = log_with(" fail! error = ");
        const size_t from = errors.size() - std::min(errors.size(), told_at_exit.size());
        const bool told =
            errors.substr(from) == told_at_exit && errors.empty() == told_at_exit.empty();
        const bool known = end == 0 ? last == "I/Failed to iniparser load"
                                    : last == "E/ERROR! open tts dict file failed. \n" && end == -1;
        _exit(told && known ? 77 : 1);
    };
    return end_of_child([&] {
        on_exit(judge_exit, nullptr);
        const bool good = test();
        const bool leaks =
            __lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0;
        return !good || leaks ? 1 : faults.met ? 0 : 2;
    });
}

}  // namespace

TEST_F(Fault, ClipWithoutItsCallIsSilent) {
    static const std::string no_memory = "ERROR! no memory for word hi\n";
    static const std::pair<std::string, const char *> rows[] = {
        // the clip whose call fails, or the message of a failed allocation; what is heard
        {"pinyinRaw/shan4_1", "ch0 pau_beg shan4 a b wu3 du4 tian1_tian1 ni2 hao3"},
        {"engRaw/a", "ch0 pau_beg shan4_1 b wu3 du4 tian1_tian1 ni2 hao3"},
        {"engRaw/b", "ch0 pau_beg shan4_1 a wu3 du4 tian1_tian1 ni2 hao3"},
        {no_memory, "ch0 pau_beg"},
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
        for (const auto &[lost, rest] : rows) {
            const bool clip = lost != no_memory;
            if (!clip && kind != memory) continue;
            plan(kind, n, error);
            EXPECT_EQ(say(), rest) << lost << ", kind " << kind;
            const std::string fail = " fail! error = " + std::to_string(error) + "\n";
            EXPECT_EQ(log_with("E/"), "E/" + (clip ? "ERROR! open " + root + lost + fail : lost));
            ++n;
        }
        plan(kind, n, error);
        EXPECT_EQ(say(), whole);
        EXPECT_FALSE(faults.met) << "a call that no row names, kind " << kind;
    }
}

TEST_F(Fault, PhraseClipWithoutMemoryToDescrambleIsSilent) {
    start();
    engine->temp_language = JANPANESE;
    scramble("wu3 du4");
    plan(memory, 2, ENOMEM);
    EXPECT_EQ(say("五度"), "ch0 pau_beg du4");
    EXPECT_EQ(log_with("E/").find("E/ERROR! no memory to descramble"), 0U);
}

// A zero-byte buffer is never released, so it counts as alive; one that was not given does not.
TEST_F(Fault, EmptyClipWithoutMemoryIsNotAlive) {
    for (const char *clip : {"greetingRaw/pau_beg", "engRaw/a", "engRaw/b", "pinyinRaw/wu3"}) {
        file(clip, "");
    }
    start();
    engine->temp_language = JANPANESE;
    for (std::string text : {"hi", "五度"}) {
        const size_t all = 3;  // both pieces or the clip and its copy, and the pause
        int n = 0, alive = 0, size = 0, lost = 0;
        char image[256];
        const auto call = [&] {
            tts_getWavData(engine.get(), text.data(), image, &size, sizeof(image), nullptr);
        };
        do {
            plan(memory, ++n, ENOMEM);
            alive = malloc_count - free_count;
            printed([&] { engine_call(call); });
            EXPECT_EQ(malloc_count - free_count, alive + static_cast<int>(empty_block_count))
                << text << ", call " << n;
            lost += empty_block_count < all;
        } while (faults.met);
        EXPECT_EQ(empty_block_count, all) << text;
        EXPECT_GE(lost, 3) << text;
    }
    plan(memory, 0, 0);
}

TEST_F(Fault, RequestGoesOnOrEndsInBadAlloc) {
    const std::tuple<const char *, call, int, int, std::string> rows[] = {
        {"a signal ends the reading", reading, EINTR, 9, whole},
        {"a short read counts as the whole", reading, 0, 9, whole},
        {"something stays behind an exception", object, ENOMEM, 25, "bad_alloc"}};
    start();
    for (const auto &[fault, kind, error, calls, heard] : rows) {
        int n = 0;
        do {
            plan(kind, ++n, error);
            const std::string said = say();
            EXPECT_EQ(said, faults.met ? heard : whole) << fault << ", call " << n;
        } while (faults.met);
        EXPECT_GT(n, calls) << fault;
    }
}

TEST_F(Fault, StartUpEndsAsDocumented) {
    const std::string all = start_up(), size = all.substr(0, all.find(' '));
    ASSERT_EQ(all, size + " ch0 en0");
    const struct {
        call kind;
        int error, exits, calls;  // how often the process ends, of how many calls at least
        bool may_lose;            // lexicon lines, without a line in the log
        const char *told;         // with an exit
    } rows[] = {{object, ENOMEM, 0, 40, false, ""},
                {opening, EMFILE, 7, 9, false, ""},
                {status, EIO, 7, 9, false, " fail! error = 5\n"},
                {reading, EIO, 0, 9, true, ""},  // counts as the end of the file
                {memory, ENOMEM, 0, 2, false, ""}};
    for (const auto &row : rows) {
        const auto as_documented = [&] {
            std::string got = start_up(), expected = all;
            if (faults.met && row.kind == object) expected = "bad_alloc";
            for (const std::string name : {" ch0", " en0"}) {
                const std::string path = root + "greetingRaw/" + name.substr(1);
                const bool told = !log_with("E/ERROR! open " + path + " fail!").empty();
                if (told) expected.erase(expected.find(name), 4);
            }
            const size_t from = row.may_lose ? std::min(got.find(' '), got.size()) : 0;
            const bool good = got.substr(from) == expected.substr(row.may_lose ? size.size() : 0);
            if (!good) std::cerr << got << " instead of " << expected << "\n";
            return good;
        };
        int n = 0, exits = 0, end = 0;
        told_at_exit = row.told;
        do {
            plan(row.kind, ++n, row.error);
            end = in_child(as_documented);
            EXPECT_TRUE(end == 0 || end == 2 || end == 77)
                << "end " << end << ", kind " << row.kind << ", call " << n;
            exits += end == 77;
        } while (end == 0 || end == 77);
        EXPECT_EQ(exits, row.exits) << "kind " << row.kind;
        EXPECT_GT(n, row.calls) << "kind " << row.kind;
    }
}

TEST_F(Fault, WhatHasNoEndIsNotRead) {
    // Error 0: is as good as an empty file.
    static const std::tuple<const char *, int (*)(const char *path), int> rows[] = {
        {"a pipe", [](const char *path) { return mkfifo(path, 0600); }, EINVAL},
        {"a device", [](const char *path) { return symlink("/dev/zero", path); }, EINVAL},
        {"more bytes than an int counts",
         [](const char *path) {
             if (!std::ofstream(path)) return -1;
             std::filesystem::resize_file(path, std::uintmax_t{INT_MAX} + 1);
             return 0;
         },
         sizeof(off_t) > 4 ? EFBIG : EOVERFLOW},
        {"a directory", [](const char *path) { return mkdir(path, 0700); }, 0},
    };
    const std::string path = root + "it", ini = root + "greetingRaw/greetings.ini";
    ASSERT_EQ(remove(ini.c_str()), 0);
    ASSERT_EQ(symlink(path.c_str(), ini.c_str()), 0);
    for (const auto &[what, make, error] : rows) {
        ASSERT_EQ(make(path.c_str()), 0) << what;
        const int result = error != 0 ? -1 : 0;
        const std::string fail = " fail! error = " + std::to_string(error) + "\n";
        told_at_exit = error != 0 ? "E/ERROR! open " + path + fail : "";
        dict_map dict;
        phone_list phones;
        log_lines.clear();
        for (const auto load : {load_eng_dict, load_pinyin_dict, load_temp_dict}) {
            ASSERT_EQ(load(path, dict), result) << what;
        }
        ASSERT_EQ(load_all_phone(path, phones), result) << what;
        EXPECT_EQ(log_with("E/ERROR"), told_at_exit + told_at_exit + told_at_exit + told_at_exit);
        if (error != 0) told_at_exit = "E/ERROR! open " + ini + fail;
        const auto starts = [&] {
            alarm(5);  // nothing may be waited for
            start_up();
            return true;
        };
        EXPECT_EQ(in_child(starts), error != 0 ? 77 : 2) << what;
        ASSERT_EQ(remove(path.c_str()), 0);
    }
}

// Takes all memory but what `blocks` blocks of 512 bytes leave; nothing where an emulator does not
// keep the limit.
void leave_memory(int blocks) {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t bytes = pages * static_cast<rlim_t>(getpagesize()) + (4U << 20U);
    const rlimit most{bytes, bytes};
    setrlimit(RLIMIT_AS, &most);
    if (void *const beyond = malloc(64U << 20U)) return free(beyond);
    struct block {
        block *next;
    } *large = nullptr, *small = nullptr;
    while (auto *const more = static_cast<block *>(malloc(504))) large = new (more) block{large};
    while (auto *const more = static_cast<block *>(malloc(24))) small = new (more) block{small};
    while (large != nullptr && blocks-- > 0) free(std::exchange(large, large->next));
}

// iniparser checks none of its calls of calloc and leaves out what strdup has no memory for.
TEST_F(Fault, StartUpFindsItsMemoryOrThrows) {
    if (__interceptor_malloc != nullptr) GTEST_SKIP() << "a sanitizer needs all addresses";
    enum { kWhole, kLost, kThrown };
    const std::string ini_path = root + "greetingRaw/greetings.ini";
    const auto start_with = [&](int blocks, int count) {
        return end_of_child([&] {
            log_kept = false;
            on_exit([](int /*unused*/, void * /*unused*/) { _exit(kLost); }, nullptr);
            leave_memory(blocks);
            try {
                int good = 0;
                for (const auto &info : create_group_from(ini_path).greetings) {
                    good += info.greet_id == good && strcmp(info.ch_name, "ch0") == 0 &&
                            strcmp(info.eng_name, "en0") == 0;
                }
                return good == count && tts_init_root(root) != nullptr ? kWhole : kLost;
            } catch (const std::bad_alloc &) {
                return kThrown;
            }
        });
    };
    for (const int count : {1, 300}) {
        std::string ini = "[default_config]\n";
        for (int i = 0; i < count; i++) {
            const std::string n = std::to_string(i);
            ini += "[g" + n + "]\nid=" + n + "\nch_name=ch0\neng_name=en0\nch_content=C\n";
        }
        file("greetingRaw/greetings.ini", ini);
        std::map<int, int> ends;
        for (int blocks = 0; ends[kWhole] < 16 && blocks < 8000; blocks += 1 + blocks / 64) {
            const int end = start_with(blocks, count);
            ends[end]++;
            EXPECT_TRUE(end == kWhole || end == kThrown) << "end " << end << " with " << blocks;
            if (blocks == 0 && end == kWhole) GTEST_SKIP() << "no limit is kept here";
        }
        EXPECT_GT(ends[kThrown], 10);
    }
}
