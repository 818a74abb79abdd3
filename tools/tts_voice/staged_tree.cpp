#include "staged_tree.h"

#include <fcntl.h>
#include <linux/stat.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <optional>
#include <set>
#include <vector>

#include "common/file_name.h"
#include "common/files.h"
#include "common/messages.h"
#include "file_descriptor.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

constexpr char kSealFile[] = "voice.txt";
constexpr char kDigestLabel[] = "digest ";

// The workshop is the directory beside the target. In it are the new tree while it is made, the
// tree that is exchanged with the target, and the old tree, first as a whole and then while it is
// removed.
constexpr char kWorkshop[] = ".voice-unfinished-";
constexpr char kNew[] = "new", kSwap[] = "swap", kOld[] = "old", kDiscarded[] = "discarded";

// FNV-1a: finds changes, not forgeries.
class digest {
  public:
    void mix(const std::string &bytes) {
        for (const char c : bytes) hash_ = (hash_ ^ static_cast<unsigned char>(c)) * 1099511628211U;
    }
    std::string text() const {
        char text[20];
        std::snprintf(text, sizeof text, "%016" PRIx64, hash_);
        return text;
    }

  private:
    uint64_t hash_ = 14695981039346656037U;
};

// Everything in a tree except the seal: files, and what build and import do not write (links,
// pipes, further empty directories).
std::vector<fs::path> files_of(const fs::path &root) {
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        const bool holds_files =
            entry.is_directory() && !entry.is_symlink() && !fs::is_empty(entry.path());
        if (!holds_files && entry.path() != root / kSealFile) {
            files.push_back(entry.path().lexically_relative(root));
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The content of the seal file: where the tree comes from, and a digest of that and of all files,
// by name, kind and content.
std::string seal_of(const fs::path &root, const std::vector<fs::path> &files,
                    const std::string &origin) {
    digest sum;
    for (const fs::path &file : files) {
        const fs::file_status status = fs::symlink_status(root / file);
        sum.mix(file.string());
        switch (status.type()) {
            case fs::file_type::regular:
                sum.mix(read_file(root / file));
                break;
            case fs::file_type::symlink:
                sum.mix("link to " + fs::read_symlink(root / file).string());
                break;
            default:
                sum.mix("kind " + std::to_string(static_cast<int>(status.type())));
        }
    }
    sum.mix(origin);
    return origin + kDigestLabel + sum.text() + "\n";
}

bool has_intact_seal(const fs::path &root, const std::vector<fs::path> &files) {
    if (!fs::is_regular_file(fs::symlink_status(root / kSealFile))) return false;
    const std::string seal = read_file(root / kSealFile);
    const size_t label = seal.rfind(kDigestLabel);
    return label != std::string::npos && seal == seal_of(root, files, seal.substr(0, label));
}

// All files of a tree that may be replaced because it is empty or has an intact seal; without a
// value for any other tree.
std::optional<std::vector<fs::path>> replaceable_files(const fs::path &tree) {
    if (!fs::is_directory(fs::symlink_status(tree))) return std::nullopt;
    std::vector<fs::path> files = files_of(tree);
    if (fs::is_empty(tree)) return files;
    if (!has_intact_seal(tree, files)) return std::nullopt;
    files.emplace_back(kSealFile);
    return files;
}

failure not_ours(const fs::path &target) {
    return failure(target.string() +
                   " holds files that tts-voice did not write or that were changed since;"
                   " move it away or name another directory");
}

bool is_mount_point(const fs::path &path) {
    struct statx status = {};
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, 0, &status) == 0 &&
        (status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0) {
        return (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    }
    struct stat inside = {}, outside = {};
    return stat(path.c_str(), &inside) == 0 && stat((path / "..").c_str(), &outside) == 0 &&
           (inside.st_dev != outside.st_dev || inside.st_ino == outside.st_ino);
}

// Refuses early what could not be replaced at the end.
void require_replaceable(const fs::path &target) {
    if (!fs::exists(fs::symlink_status(target))) return;
    if (!fs::is_directory(target))
        throw failure(target.string() + " exists and is not a directory");
    if (is_mount_point(target)) {
        throw failure(target.string() +
                      " is a mount point, which cannot be replaced; name a directory in it");
    }
    // A directory that is moved is written to.
    if (access(target.c_str(), W_OK) != 0) throw cannot("replace", target);
    std::error_code error;
    const fs::path way = fs::current_path(error).lexically_relative(target);
    if (!error && !way.empty() && *way.begin() != "..") {
        throw failure(target.string() +
                      " is the current directory or holds it; name another directory");
    }
    if (!replaceable_files(target)) throw not_ours(target);
}

fs::path resolved(const fs::path &target) {
    fs::path path = fs::weakly_canonical(fs::absolute(target));
    if (!path.has_filename()) path = path.parent_path();
    return path;
}

// Whether a workshop may hold the tree that was replaced. One that cannot be read may.
bool holds_a_voice(const fs::path &workshop) noexcept {
    try {
        const fs::path swapped = workshop / kSwap;
        return fs::exists(fs::symlink_status(workshop / kOld)) ||
               (fs::exists(fs::symlink_status(swapped)) && !replaceable_files(swapped));
    } catch (...) {
        return true;
    }
}

// The same for the workshop of a killed run. One that need not stay is removed by the caller.
bool must_stay(const fs::path &workshop) noexcept {
    if (holds_a_voice(workshop)) return true;
    rename((workshop / kSwap).c_str(), (workshop / kDiscarded).c_str());
    return false;
}

void rename_or_throw(const fs::path &from, const fs::path &to) {
    if (rename(from.c_str(), to.c_str()) == 0) return;
    throw cannot(("rename " + from.string() + " to").c_str(), to);
}

// Exchanges two directories. Where the system cannot do it in one step, `b` is at `aside`
// meanwhile.
void exchange(const fs::path &a, const fs::path &b, const fs::path &aside) {
    if (renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0) return;
    if (errno == EXDEV) {
        throw failure("cannot replace " + b.string() +
                      ": it is in a lower layer of an overlay, as of a container's image; name "
                      "another directory");
    }
    if (errno != EINVAL && errno != ENOSYS) throw cannot("replace", b);
    rename_or_throw(b, aside);
    try {
        rename_or_throw(a, b);
    } catch (const failure &) {
        rename(aside.c_str(), b.c_str());
        throw;
    }
    rename_or_throw(aside, a);
}

// One call for the whole file system instead of one for each file.
void flush_tree_to_disk(const fs::path &root) {
    const file_descriptor directory(root.c_str());
    if (directory.get() < 0 || syncfs(directory.get()) != 0) throw cannot("write", root);
}

}  // namespace

staged_tree::staged_tree(const fs::path &target) : target_(resolved(target)) {
    require_replaceable(target_);
    const fs::path parent = target_.parent_path();
    if (!fs::is_directory(parent)) throw failure("there is no directory " + parent.string());
    clear_leftovers(parent / kWorkshop, must_stay);
    workshop_ = std::make_unique<temporary_directory>(parent / kWorkshop);
    root_ = workshop_->path() / kNew;
    make_directory(root_);
}

void staged_tree::write_clip(const std::string &file, std::string_view bytes) const {
    const std::string fault = fault_of_clip_name(file.substr(file.find('/') + 1));
    if (!fault.empty()) throw failure(fault);
    write_file(root_ / file, bytes);
}

void staged_tree::seal(const std::string &origin) {
    write_file(root_ / kSealFile, seal_of(root_, files_of(root_), origin));
}

void staged_tree::publish() {
    const bool replaces = fs::exists(fs::symlink_status(target_));
    if (replaces) fs::permissions(root_, fs::status(target_).permissions());
    flush_tree_to_disk(root_);
    const auto held = hold_signals();
    const fs::path swap = workshop_->path() / kSwap;
    rename_or_throw(root_, swap);
    if (!replaces) {
        rename_or_throw(swap, target_);
        return flush_tree_to_disk(target_);
    }
    std::optional<std::vector<fs::path>> old_files;
    try {
        old_files = change_places(swap);
        flush_tree_to_disk(target_);  // before any file of the old tree is removed
    } catch (const std::exception &why) {
        if (!old_files && !holds_a_voice(workshop_->path())) throw;
        workshop_->keep();
        throw failure(text_of_error(why) + "; what was there before is in " +
                      workshop_->path().string());
    }
    remove_old(swap, *old_files);
}

// Removes the files of the old tree that were checked. Files that another program, which still has
// the directory open, has added since then stay.
void staged_tree::remove_old(const fs::path &swap, const std::vector<fs::path> &files) {
    const fs::path discarded = workshop_->path() / kDiscarded;
    if (rename(swap.c_str(), discarded.c_str()) != 0) return;
    std::set<fs::path> directories = {discarded};
    for (const fs::path &file : files) {
        const fs::path path = discarded / file;
        if (unlink(path.c_str()) != 0) rmdir(path.c_str());
        for (fs::path above = path.parent_path(); above != discarded; above = above.parent_path()) {
            directories.insert(above);
        }
    }
    std::for_each(directories.rbegin(), directories.rend(),
                  [](const fs::path &directory) { rmdir(directory.c_str()); });
    std::error_code error;
    if (!fs::exists(discarded, error)) return;
    workshop_->keep();
    warn(discarded.string() + " holds what could not be removed of the voice that was replaced");
}

std::vector<fs::path> staged_tree::change_places(const fs::path &swap) {
    const fs::path old = workshop_->path() / kOld;
    exchange(swap, target_, old);
    std::string fault;
    try {
        if (auto old_files = replaceable_files(swap)) return *std::move(old_files);
        fault = not_ours(target_).what();
    } catch (const std::exception &why) {
        fault = text_of_error(why);
    }
    exchange(swap, target_, old);
    throw failure(fault);
}

}  // namespace tts_voice
