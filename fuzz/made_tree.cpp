#include "made_tree.h"

#include <iniparser.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <filesystem>

#include "file_descriptor.h"
#include "ini_ptr.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kMostClips = 24, kMostOddities = 12;

std::string value_of(const std::string &line) {
    return line.substr(line.find('=') + 1);
}

std::string voice(size_t ms, int amplitude) {
    std::string bytes;
    for (size_t i = 0; i < 16 * ms; ++i) {
        const double phase = static_cast<double>(i) * 2 * 3.14159265 * 120 / 16000;
        const double edge =
            std::min({static_cast<double>(i),
                      16.0 * static_cast<double>(ms - 1) - static_cast<double>(i), 80.0});
        const double wave = std::sin(phase) + 0.5 * std::sin(2 * phase) + 0.3 * std::sin(3 * phase);
        const auto value = static_cast<int>(amplitude * wave * std::max(edge, 0.0) / 80);
        bytes += static_cast<char>(value & 0xff);
        bytes += static_cast<char>(value >> 8 & 0xff);
    }
    return bytes;
}

std::string sound(size_t kind) {
    switch (kind % 8) {
        case 0:
            return std::string(640, '\0');
        case 1:
            return std::string(640, '\x7f') + std::string(1, '\0');
        case 2:
            return "RIFF" + voice(20, 4000);
        case 3:
            return voice(40, 300);
        case 4:
            return voice(40, 18000) + std::string(16, '\x7f');
        case 5:
            return std::string(6400, '\0') + voice(60, 6000);
        case 6:
            return "\x01";
        default:
            return voice(40, 6000);
    }
}

int quiet(const char * /*format*/, ...) {
    return 0;
}

}  // namespace

made_tree::made_tree(const resource_tree &tree, input &bytes)
    : tree_(tree),
      away_(tree.root + "../" + fs::path(tree.root).parent_path().filename().string() + ".away/") {
    iniparser_set_error_callback(quiet);
    fs::create_directory(away_);
    for (const char *name : kTreeFiles) {
        std::string file = bytes.piece(kMark);
        std::replace(file.begin(), file.end(), '/', '|');  // names stay inside the tree
        tree.file(name, file);
        add_clips(name, file);
        texts[name] = std::move(file);
    }
    const std::string oddities = bytes.piece(kMark);
    for (size_t i = 0; i + 2 < oddities.size() && i < 3 * kMostOddities; i += 3) {
        const auto number = [&](size_t at) {
            return static_cast<size_t>(static_cast<unsigned char>(oddities[at] - '0'));
        };
        make_odd(oddities[i], number(i + 1), number(i + 2));
    }
}

made_tree::~made_tree() {
    for (size_t i = odd_.size(); i-- > 0;) {
        fs::remove_all(tree_.root + odd_[i]);
        fs::rename(away_ + std::to_string(i), tree_.root + odd_[i]);
    }
    for (const std::string &file : clips_) unlink((tree_.root + file).c_str());
    fs::remove(away_);
}

bool made_tree::require_clip(const std::string &file) {
    if (file == "pinyinRaw/pau_short" || !odd_.empty() || !tree_.clip(file, 3)) return false;
    clips_.push_back(file);
    return true;
}

bool made_tree::loads() const {
    std::error_code error;
    if (!fs::is_regular_file(tree_.root + kTreeFiles[0], error)) return false;
    for (const char *name : kTreeFiles) {
        const file_descriptor file((tree_.root + name).c_str());
        if (file.get() < 0 || (file.regular_size(INT_MAX) < 0 && errno != EISDIR)) return false;
    }
    return ini_ptr(iniparser_load((tree_.root + kTreeFiles[0]).c_str())) != nullptr;
}

request_limits made_tree::limits() const {
    request_limits limits;
    std::error_code error;
    const auto pause = fs::file_size(tree_.root + "greetingRaw/pau_beg", error);
    limits.pause = error ? 0 : static_cast<int>(pause);
    if (longest_ > 5) limits.capacity = 1 << 20;
    limits.may_leak = has_empty_clip_;
    for (const std::string &file : odd_) {  // or a link to an empty list
        const auto bytes = fs::file_size(tree_.root + file, error);
        limits.may_leak = limits.may_leak || (!error && bytes == 0);
    }
    return limits;
}

// Every fourth name gets no clip; lengths are 1 to 5 bytes.
void made_tree::add_clip(const std::string &file) {
    const std::string name = file.substr(file.find('/') + 1);
    if (clips_.size() >= kMostClips || name == "pau_beg" || name == "pau_short") return;
    if (++tried_ % 4 == 0) {
        left_out_.push_back(file);
        return;
    }
    if (tree_.clip(file, 1 + tried_ % 5)) clips_.push_back(file);
}

void made_tree::add_clips(const std::string &file, const std::string &bytes) {
    const std::vector<std::string> lines = pieces_of(bytes, '\n');
    for (size_t i = 0; i < std::min<size_t>(lines.size(), kMostClips); ++i) {
        if (file == "yinsu.txt") add_clip("pinyinRaw/" + lines[i]);
        if (file.find("surname") == 0) add_clip("pinyinRaw/" + value_of(lines[i]) + "_1");
        if (file == "greetingRaw/greetings.ini") add_clip("greetingRaw/" + value_of(lines[i]));
        if (file == "eng_dict.txt" && i % 2 == 1) {
            for (const std::string &piece : pieces_of(lines[i], ',')) add_clip("engRaw/" + piece);
        }
    }
}

void made_tree::write_clip(const std::string &file, const std::string &bytes) {
    tree_.file(file, bytes);
    longest_ = std::max(longest_, bytes.size());
    has_empty_clip_ = has_empty_clip_ || bytes.empty();
}

void made_tree::make_odd(char what, size_t where, size_t how_much) {
    constexpr size_t kLengths[] = {0, 1, 3, 44, 3200, 3201, 32000, 100000};
    const bool of_clips = what == 's' || what == 'v' || what == 'V';
    if (what == 'F') {
        failing = {static_cast<enum fault::kind>(where % 3), static_cast<int>(how_much)};
    } else if (of_clips && !clips_.empty() && odd_.empty()) {
        const std::string &file = clips_[where % clips_.size()];
        if (what == 's') write_clip(file, std::string(kLengths[how_much % 8], 's'));
        if (what == 'v') write_clip(file, sound(how_much));
        for (; what == 'V' && !left_out_.empty(); left_out_.pop_back())
            require_clip(left_out_.back());
        for (size_t i = 0; what == 'V' && i < clips_.size(); ++i)
            write_clip(clips_[i], voice(36 + 2 * i, 6000));
    } else if (!of_clips) {
        std::vector<std::string> places(std::begin(kTreeFiles), std::end(kTreeFiles));
        places.insert(places.end(), {"greetingRaw/pau_beg", "pinyinRaw/pau_short", "pinyinRaw",
                                     "engRaw", "greetingRaw"});
        places.insert(places.end(), clips_.begin(), clips_.end());
        put(what, places[where % places.size()]);
    }
}

void made_tree::put(char what, const std::string &file) {
    if (std::string("mdlxopz").find(what) == std::string::npos) return;
    const std::string path = tree_.root + file;
    std::error_code error;
    fs::rename(path, away_ + std::to_string(odd_.size()), error);
    if (error) return;  // below a directory that is replaced already
    odd_.push_back(file);
    std::string target;
    switch (what) {
        case 'd':
            fs::create_directory(path);
            break;
        case 'p':
            CHECK(mkfifo(path.c_str(), 0600) == 0);
            break;
        case 'l':
            target = tree_.root + "yinsu.txt";
            break;
        case 'x':
            target = "none";
            break;
        case 'o':
            target = path;
            break;
        case 'z':
            target = "/dev/zero";
            break;
        default:
            break;
    }
    if (!target.empty()) CHECK(symlink(target.c_str(), path.c_str()) == 0);
}
