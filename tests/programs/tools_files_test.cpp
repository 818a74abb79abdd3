// Trees and files that take the place of older ones, when calls fail, a kill comes, or somebody
// else writes meanwhile.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>

#include "common/file_name.h"
#include "common/files.h"
#include "common/messages.h"
#include "common/temporary_directory.h"
#include "staged_tree.h"
#include "support/calls.h"

namespace fs = std::filesystem;
using namespace tts_tools;
using tts_voice::staged_tree;

// ---- calls that fail: these definitions come before those of the C library ----

// The calls of one of these names, or of any, that fail: the first one and how many. Error 0 is
// SIGKILL.
static struct {
    std::string name;  // empty: none
    int first = 0, count = 0, error = EIO;
    int calls = 0;
} faults;
static bool can_exchange = true;
// Called once after the exchange: by the read of this number, or, with 0, when the old tree is
// about to be removed.
static std::function<void()> come_late;
static int late_read = 0, reads_left = 0;

static bool fails(const char *name) {
    if (faults.name.empty() || (faults.name != "any" && faults.name != name)) return false;
    const int after = ++faults.calls - faults.first;
    if (after < 0 || after >= faults.count) return false;
    if (faults.error == 0) raise(SIGKILL);
    errno = faults.error;
    return true;
}

extern "C" {
ssize_t write(int file, const void *from, size_t size) {
    return fails("write") ? -1 : REAL(write)(file, from, size);
}
int close(int file) {
    const bool failed = fails("close");
    const int result = REAL(close)(file);
    if (failed) errno = faults.error;
    return failed ? -1 : result;
}
int fsync(int file) {
    return fails("fsync") ? -1 : REAL(fsync)(file);
}
int syncfs(int file) noexcept {
    return fails("fsync") ? -1 : REAL(syncfs)(file);
}
ssize_t read(int file, void *to, size_t size) {
    if (reads_left > 0 && --reads_left == 0 && come_late) come_late();
    return fails("read") ? -1 : REAL(read)(file, to, size);
}
int rename(const char *from, const char *to) noexcept {
    if (come_late && fs::path(to).filename() == "discarded") come_late();
    return fails("rename") ? -1 : REAL(rename)(from, to);
}
int renameat2(int a, const char *from, int b, const char *to, unsigned flags) noexcept {
    reads_left = late_read;
    if (!can_exchange) errno = EINVAL;
    return !can_exchange || fails("exchange") ? -1 : REAL(renameat2)(a, from, b, to, flags);
}
int unlinkat(int directory, const char *name, int flags) noexcept {
    return fails("unlink") ? -1 : REAL(unlinkat)(directory, name, flags);
}
}

namespace {

class ToolsFiles : public ::testing::Test {
  protected:
    ToolsFiles() { fs::create_directory(place); }
    ~ToolsFiles() override { can_exchange = true; }

    void make_tree(
        const std::string &clip, const std::function<void()> &meanwhile = [] {}) const {
        staged_tree tree(target);
        fs::create_directory(tree.root() / "pinyinRaw");
        tree.write_clip("pinyinRaw/hao3", clip);
        meanwhile();
        tree.write_clip("pinyinRaw/ni3", clip);
        tree.seal("made here\n");
        tree.publish();
    }
    // The message of the failure that `work` ends in, or nothing. Faults that are set end with it.
    std::string failure_of(const std::function<void()> &work) {
        std::string message;
        try {
            work();
        } catch (const failure &why) {
            message = why.what();
        }
        met = faults.calls >= faults.first;
        faults = {};
        return message;
    }
    // Makes the new tree in a separate process, which is killed at a call if it comes to it.
    bool is_killed(const char *call, int first) const {
        return end_of_child([&] {
                   faults = {call, first, 1, 0, 0};
                   make_tree("new");
                   return 0;
               }) == -SIGKILL;
    }
    // "old" or "new" when the tree is all of the one or the other.
    static std::string tree_at(const fs::path &path) {
        if (!fs::exists(path / "voice.txt")) return "none";
        const std::string clip = read_file(path / "pinyinRaw/hao3");
        return clip == read_file(path / "pinyinRaw/ni3") ? clip : "a mixture";
    }
    // What is beside the target and not named by `message`.
    std::string left_behind(const std::string &message) const {
        std::string names;
        for (const auto &entry : fs::directory_iterator(place)) {
            const std::string name = entry.path().filename();
            if (name != "voice" && message.find(name) == std::string::npos) names += name + " ";
        }
        return names;
    }
    // Whether a directory that the message names has the whole old tree.
    bool keeps_old(const std::string &message) const {
        for (const auto &entry : fs::directory_iterator(place)) {
            if (message.find(entry.path().filename()) == std::string::npos) continue;
            if (tree_at(entry.path() / "swap") == "old" || tree_at(entry.path() / "old") == "old") {
                return true;
            }
        }
        return false;
    }
    void start_anew() const {
        fs::remove_all(place);
        fs::create_directory(place);
        make_tree("old");
    }

    const temporary_directory home{fs::temp_directory_path() / "tts-tools-files-"};
    const fs::path place = home.path() / "place", target = place / "voice";
    bool met = true;  // the call that was to fail in the last failure_of()
};

TEST_F(ToolsFiles, WhatSomebodyPutsIntoATreeStays) {
    const std::pair<const char *, std::function<void(const fs::path &)>> rows[] = {
        {"file", [](const fs::path &path) { write_file(path, "mine"); }},
        {"link", [](const fs::path &path) { fs::create_symlink("/", path); }},
        {"pipe", [](const fs::path &path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
        {"directory", [](const fs::path &path) { fs::create_directory(path); }},
        {"voice.txt",
         [](const fs::path &path) {
             fs::rename(path, path.parent_path() / "seal");
             fs::create_symlink("seal", path);
         }},
        {"voice.txt", [](const fs::path &path) { write_file(path, read_file(path) + "By Anna"); }},
    };
    for (const auto &row : rows) {
        const fs::path kept = target / row.first;
        for (const auto &[exchanges, before] :
             {std::pair(true, true), {true, false}, {false, true}, {false, false}}) {
            SCOPED_TRACE(kept);
            start_anew();
            can_exchange = exchanges;
            const std::function<void()> none = [] {}, add = [&] { row.second(kept); };
            if (before) add();
            const std::string message = failure_of([&] { make_tree("new", before ? none : add); });
            EXPECT_NE(message.find("holds files that"), std::string::npos) << message;
            EXPECT_TRUE(fs::exists(fs::symlink_status(kept)));
            EXPECT_EQ(tree_at(target), "old");
            EXPECT_EQ(left_behind(""), "");
        }
    }
}

TEST_F(ToolsFiles, AFailedCallLeavesTheOldTreeOrTheNewOne) {
    for (const bool exchanges : {true, false}) {
        can_exchange = exchanges;
        for (const char *call :
             {"write", "close", "read", "fsync", "rename", "exchange", "unlink"}) {
            met = true;
            for (int first = 1; met; ++first) {
                SCOPED_TRACE(std::string(call) + " " + std::to_string(first));
                start_anew();
                faults = {call, first, 1, EIO, 0};
                const std::string message = failure_of([&] { make_tree("new"); });
                const std::string tree = tree_at(target);
                EXPECT_EQ(tree, message.empty() ? "new" : tree);
                EXPECT_TRUE(message.empty() || tree == "old" || keeps_old(message)) << message;
                EXPECT_EQ(left_behind(message), "");
            }
        }
    }
}

TEST_F(ToolsFiles, WhatComesInLateOrOnlyLooksLikeALeftoverStays) {
    for (const int read_number : {4, 0}) {  // the end of the first clip that is checked
        start_anew();
        late_read = read_number;
        fs::path late;
        come_late = [&] {
            reads_left = 0;
            for (const auto &entry : fs::directory_iterator(place)) {
                const fs::path clips = entry.path() / "swap/pinyinRaw";
                if (fs::exists(clips)) write_file(clips / "late", "mine");
            }
        };
        make_tree("new");
        come_late = nullptr;
        for (const auto &entry : fs::recursive_directory_iterator(place)) {
            if (entry.path().filename() == "late") late = entry.path();
        }
        EXPECT_EQ(tree_at(target) + read_file(late), "newmine");
    }
    for (const fs::perms mode : {fs::perms::owner_all, fs::perms(0755)}) {
        const fs::path mine = place / ".voice-unfinished-manual";
        fs::create_directory(mine);
        fs::permissions(mine, mode);
        write_file(mine / "notes", "mine");
        const staged_tree next(target);
        EXPECT_EQ(read_file(mine / "notes"), "mine");
    }
}

TEST_F(ToolsFiles, WithoutAWayBackBothTreesAreKeptAndTheMessageLeadsThere) {
    start_anew();
    faults = {"exchange", 2, 1, EIO, 0};
    const std::string found =
        failure_of([&] { make_tree("new", [&] { write_file(target / "notes", "mine"); }); });
    EXPECT_EQ(tree_at(target), "new");
    EXPECT_EQ(left_behind(found), "");
    fs::remove_all(target);
    for (const auto &kept : fs::directory_iterator(place)) fs::rename(kept.path() / "swap", target);
    EXPECT_EQ(read_file(target / "notes"), "mine");

    start_anew();
    can_exchange = false;
    faults = {"rename", 3, 2, EIO, 0};  // the new tree to its place, and the old one back
    const std::string message = failure_of([&] { make_tree("new"); });
    const std::string mark = "what was there before is in ";
    ASSERT_NE(message.find(mark), std::string::npos) << message;
    const fs::path kept = message.substr(message.find(mark) + mark.size());
    EXPECT_EQ(tree_at(kept / "old"), "old");
    EXPECT_EQ(tree_at(kept / "swap"), "new");
    make_tree("new");
    EXPECT_EQ(tree_at(kept / "old"), "old") << "taken for a leftover";
}

TEST_F(ToolsFiles, AKillAtAnyCallLeavesAWholeTreeAndNothingForGood) {
    bool killed = true;
    for (int first = 1; killed; ++first) {
        SCOPED_TRACE(first);
        start_anew();
        killed = is_killed("any", first);
        const std::string tree = tree_at(target);
        EXPECT_TRUE(tree == "old" || tree == "new") << tree;
        is_killed("unlink", first % 5 + 1);  // the next run while it clears up, and so on
        const staged_tree next(target);
        EXPECT_EQ(left_behind(next.root()), "");
    }
}

TEST_F(ToolsFiles, AFileIsReplacedAsAWhole) {
    const fs::path file = place / "page", link = place / "link", dangling = place / "dangling";
    for (const char *call : {"write", "close", "fsync", "rename"}) {
        met = true;
        for (int first = 1; met; ++first) {
            write_file(file, "old");
            faults = {call, first, 1, ENOSPC, 0};
            const std::string message = failure_of([&] { replace_file(file, "new"); });
            EXPECT_EQ(read_file(file), message.empty() ? "new" : "old") << call << first;
            EXPECT_EQ(left_behind("page"), "") << call << first;
        }
    }
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink("page", link);
    fs::create_symlink("elsewhere", dangling);
    replace_file(link, "through");
    replace_file(dangling, "through");
    EXPECT_EQ(read_file(file) + read_file(place / "elsewhere"), "throughthrough");
    EXPECT_TRUE(fs::is_symlink(link) && fs::is_symlink(dangling));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST(FileName, NamesAFileOfItsDirectoryOrNone) {
    using namespace std::string_literals;
    const std::string longest(255, 'a');
    for (const auto &name : {"hao3_1"s, "你.raw"s, longest}) {
        EXPECT_EQ(fault_of_clip_name(name), "") << name;
    }
    for (const auto &name :
         {""s, "."s, ".."s, "../x"s, "/x"s, "x/"s, "x\n"s, "x\0y"s, "\x7f"s, longest + "a"}) {
        EXPECT_NE(fault_of_clip_name(name), "") << name;
    }
}

TEST(Printable, NoControlReachesTheTerminal) {
    const std::pair<const char *, const char *> rows[] = {
        {"你好 \xf0\x9f\x98\x80", "你好 \xf0\x9f\x98\x80"},
        {"\x1b]0;title\x07", "\\x1b]0;title\\x07"},
        {u8"\u009b2J", "\\xc2\\x9b2J"},
        {"cut \xe4\xbd", "cut \\xe4\\xbd"},
        {"a\r\n\x7f", "a\\x0d\\x0a\\x7f"},
    };
    for (const auto &[text, shown] : rows) EXPECT_EQ(printable(text), shown);
    EXPECT_EQ(printable("a\nb\x1b", true), "a\nb\\x1b");
}

}  // namespace
