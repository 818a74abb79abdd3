#include "tree.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <vector>

namespace fs = std::filesystem;

namespace tts_voice {

namespace {

constexpr char kSealFile[] = "voice.txt";
constexpr char kDigestLabel[] = "digest ";

// FNV-1a over the names and contents of all files but the seal: finds changes, not forgeries.
std::string digest_of(const fs::path &root) {
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_directory() && entry.path() != root / kSealFile) {
            files.push_back(entry.path().lexically_relative(root));
        }
    }
    std::sort(files.begin(), files.end());
    uint64_t hash = 14695981039346656037U;
    const auto mix = [&hash](const std::string &bytes) {
        for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    };
    for (const fs::path &file : files) {
        mix(file.string());
        mix(read_file(root / file));
    }
    char text[20];
    std::snprintf(text, sizeof text, "%016" PRIx64, hash);
    return text;
}

bool has_intact_seal(const fs::path &root) {
    if (!fs::is_regular_file(root / kSealFile)) return false;
    return read_file(root / kSealFile).find(kDigestLabel + digest_of(root) + "\n") !=
           std::string::npos;
}

void require_replaceable(const fs::path &target) {
    if (!fs::exists(fs::symlink_status(target))) return;
    if (!fs::is_directory(target)) throw failure(target.string() + " exists and is no directory");
    if (fs::is_empty(target) || has_intact_seal(target)) return;
    throw failure(target.string() +
                  " holds files that tts-voice did not write or that were changed since;"
                  " move it away or name another directory");
}

fs::path resolved(const fs::path &target) {
    fs::path path = fs::weakly_canonical(fs::absolute(target));
    if (!path.has_filename()) path = path.parent_path();
    return path;
}

}  // namespace

staged_tree::staged_tree(const fs::path &target) : target_(resolved(target)) {
    require_replaceable(target_);
    if (!fs::is_directory(target_.parent_path())) {
        throw failure("there is no directory " + target_.parent_path().string());
    }
    workshop_ = std::make_unique<temporary_directory>(target_.string() + ".unfinished-");
    root_ = workshop_->path() / "new";
    make_directory(root_);
}

void staged_tree::seal(const std::string &origin) {
    write_file(root_ / kSealFile, origin + kDigestLabel + digest_of(root_) + "\n");
}

void staged_tree::publish() {
    require_replaceable(target_);
    const fs::path old = workshop_->path() / "old";
    const bool replaces = fs::exists(target_);
    if (replaces) fs::rename(target_, old);
    std::error_code error;
    fs::rename(root_, target_, error);
    if (!error) return;
    if (replaces) fs::rename(old, target_);
    throw failure("cannot rename " + root_.string() + " to " + target_.string() + ": " +
                  error.message());
}

}  // namespace tts_voice
