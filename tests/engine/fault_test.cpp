// Calls that fail, each in its turn.
#include <fcntl.h>
#include <iniparser.h>
#include <malloc.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <new>

#include "support/calls.h"
#include "support/tiny_voice.h"

// ---- the engine's calls: these definitions come before those of the C library ----

// operator new; malloc and calloc; open and fopen; read and pread; fstat
enum call { object, memory, opening, reading, status };

static struct {
    call kind;
    int number;  // the call of this kind that fails, from 1 on; 0: none
    int error;   // its errno; 0: reads one byte only
    int calls;   // of this kind
    bool met;    // the call came
} faults;

static bool in_iniparser;  // whose memory never fails: StartUpFindsAllTheMemoryThatIniparserTakes
static struct memory_use {
    size_t now, most;  // bytes, with what malloc adds to a block
    void add(void *block) {
        most = std::max(most, now += malloc_usable_size(block) + sizeof(size_t));
    }
    void remove(void *block) { now -= malloc_usable_size(block) + sizeof(size_t); }
} found_before, taken_by_iniparser;  // by new[], of which the start-up has no other use

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
void *operator new[](size_t size) {
    void *const block = operator new(size);
    found_before.add(block);
    return block;
}
void operator delete[](void *block) noexcept {
    if (block != nullptr) found_before.remove(block);
    operator delete(block);
}
void operator delete[](void *block, size_t) noexcept {
    operator delete[](block);
}

extern "C" {
UNCHECKED void *malloc(size_t size) noexcept {
    void *const block = faults_armed && fails(memory) ? nullptr : allocate(size);
    if (in_iniparser && block != nullptr) taken_by_iniparser.add(block);
    return block;
}
UNCHECKED void *calloc(size_t count, size_t size) noexcept {
    if (faults_armed && fails(memory)) return nullptr;
    void *const block =
        (__interceptor_calloc != nullptr ? __interceptor_calloc : __libc_calloc)(count, size);
    if (in_iniparser && block != nullptr) taken_by_iniparser.add(block);
    return block;
}
UNCHECKED void free(void *block) noexcept {
    if (in_iniparser && block != nullptr) taken_by_iniparser.remove(block);
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
ssize_t pread(int file, void *to, size_t size, off_t from) {
    const bool failed = fails(reading);
    return failed && faults.error != 0 ? -1 : REAL(pread)(file, to, failed ? 1 : size, from);
}
}

namespace {

using namespace std::string_literals;

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
    static void plan(call kind, int number, int error) { faults = {kind, number, error, 0, false}; }
    // The plan holds while the engine runs.
    void engine_call(const std::function<void()> &call) override {
        const struct arming {
            arming() { faults_armed = true; }
            ~arming() { faults_armed = false; }
        } armed;
        call();
    }
    // How a call of the engine ends: what it returns or "bad_alloc", and what it did not release.
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

// Runs `test` in a separate process. 0: it returned true, 1: false, 2: the planned call did not
// come, 77: the start-up ended the process in one of its two ways.
int in_child(const std::function<bool()> &test) {
    const auto judge_exit = [](int end, void * /*unused*/) {
        const std::string last = log_lines.empty() ? "" : log_lines.back();
        const bool known = end == 0 ? last == "I/Failed to iniparser load"
                                    : last == "E/ERROR! open tts dict file failed. \n" && end == -1;
        _exit(known ? 77 : 1);
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
        // the clip whose call fails, or the message of a failed allocation; the clips of the image
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
    const std::pair<call, int> kinds[] = {{opening, EMFILE}, {reading, EIO}, {memory, ENOMEM}};
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
    EXPECT_EQ(log_with("E/"), "E/ERROR! no memory to descramble a clip of 4 bytes\n");
}

TEST_F(Fault, RequestGoesOnOrEndsInBadAlloc) {
    const std::tuple<const char *, call, int, int, std::string> rows[] = {
        {"a signal ends the reading", reading, EINTR, 9, whole},
        {"a short read counts as the whole", reading, 0, 9, whole},
        {"something is not released after an exception", object, ENOMEM, 25, "bad_alloc"}};
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
    } rows[] = {{object, ENOMEM, 0, 40, false},
                {opening, EMFILE, 7, 9, false},
                {status, EIO, 7, 6, false},
                {reading, EIO, 0, 9, true},  // as the end of a file
                {memory, ENOMEM, 0, 2, false}};
    for (const auto &row : rows) {
        const auto as_documented = [&] {
            std::string got = start_up(), expected = all;
            if (faults.met && row.kind == object) expected = "bad_alloc";
            for (const std::string name : {" ch0", " en0"}) {
                const std::string path = root + "greetingRaw/" + name.substr(1);
                const bool logged = !log_with("E/ERROR! open " + path + " fail!").empty();
                if (logged) expected.erase(expected.find(name), 4);
            }
            const size_t from = row.may_lose ? std::min(got.find(' '), got.size()) : 0;
            const bool good = got.substr(from) == expected.substr(row.may_lose ? size.size() : 0);
            if (!good) std::cerr << got << " instead of " << expected << "\n";
            return good;
        };
        int n = 0, exits = 0, end = 0;
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
    // The command that makes it, and the error; 0: it is as good as an empty file.
    static const std::pair<std::string, int> rows[] = {
        {"mkfifo ", EINVAL},
        {"ln -s /dev/zero ", EINVAL},
        {"truncate -s 2G ", sizeof(off_t) > 4 ? EFBIG : EOVERFLOW},
        {"mkdir ", 0},
    };
    const std::string path = root + "it", ini = root + "greetingRaw/greetings.ini";
    std::filesystem::remove(ini);
    std::filesystem::create_symlink(path, ini);
    for (const auto &[make, error] : rows) {
        SCOPED_TRACE(make);
        ASSERT_EQ(std::system((make + path).c_str()), 0);
        const int result = error != 0 ? -1 : 0;
        dict_map dict;
        phone_list phones;
        for (const auto load : {load_eng_dict, load_pinyin_dict, load_temp_dict}) {
            log_lines.clear();
            EXPECT_EQ(load(path, dict), result);
            EXPECT_EQ(log_with("E/"), error == 0 ? ""
                                                 : "E/ERROR! open " + path + " fail! error = " +
                                                       std::to_string(error) + "\n");
        }
        EXPECT_EQ(load_all_phone(path, phones), result);
        const auto starts = [&] {
            alarm(20);  // nothing may be waited for
            start_up();
            return true;
        };
        EXPECT_EQ(in_child(starts), error != 0 ? 77 : 2);
        std::filesystem::remove(path);
    }
}

// iniparser checks none of its calls of calloc and leaves out what strdup has no memory for, so all
// that it takes must have been found before.
TEST_F(Fault, StartUpFindsAllTheMemoryThatIniparserTakes) {
    const std::string long_name(300, 's');
    for (const auto &section : {"g"s, long_name, "g\\\n" + long_name}) {  // or on two lines
        for (const int count : {0, 1, 300}) {
            std::string ini = "[default_config]\n";
            for (int i = 0; i < count; i++) {
                ini += "[" + section + std::to_string(i) + "]\nid=1\nch_name=ch0\neng_name=en0\n";
            }
            file("greetingRaw/greetings.ini", ini);
            found_before = taken_by_iniparser = {};
            EXPECT_EQ(create_group_from(root + "greetingRaw/greetings.ini").count, count);
            EXPECT_GT(taken_by_iniparser.most, 0U);
            EXPECT_LE(taken_by_iniparser.most, found_before.most) << count << " of " << section;
        }
    }
}
