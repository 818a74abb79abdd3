#include "check/checked_tree.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <utility>

#include "common/file_name.h"
#include "common/files.h"
#include "common/utf8.h"
#include "common/voice_names.h"
#include "lists.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

bool is_utf8(std::string_view text) {
    for (size_t at = 0, bytes = 0; at < text.size(); at += bytes) {
        bytes = utf8_bytes(text, at);
        if (bytes == 0) return false;
    }
    return true;
}

// The size of a heap block, with what the allocator adds.
constexpr size_t block_bytes(size_t wanted) {
    constexpr size_t kOverhead = sizeof(void *), kGrain = 2 * sizeof(void *);
    return (wanted + kOverhead + kGrain - 1) / kGrain * kGrain;
}

// The heap memory of a string.
size_t bytes_beside(const string &text) {
    static const size_t inside = string().capacity();
    return text.capacity() > inside ? block_bytes(text.capacity() + 1) : 0;
}

}  // namespace

checked_tree::checked_tree(fs::path tree_root) : root(std::move(tree_root)) {
    std::error_code error;
    const fs::directory_iterator readable(root, error);
    if (error) throw failure("cannot read " + root.string() + ": " + error.message());
    for (const char *directory : kClipDirectories) {
        if (access((root / directory / ".").c_str(), X_OK) == 0) continue;
        add(kinds::kDirectoryMissing, directory, 0, std::strerror(errno));
        missing_directories_.insert(directory);
    }
}

void checked_tree::add(const finding_kind &kind, const string &file, int line, const string &what) {
    result.findings.push_back({kind.level, kind.code, file, line, what, kind.effect, kind.fix});
}

void checked_tree::set_phones(const std::vector<text_line> &lines) {
    phones.clear();
    for (const text_line &line : lines) phones.push_back(line.text);
    phone_names_ = {phones.begin(), phones.end()};
    phone_names_.erase("");  // an empty line lists a phone that cannot have a clip
}

bool checked_tree::has_clip(const string &file, const string &user) {
    if (in_missing_directory(file)) return true;
    std::error_code error;
    if (!fs::is_regular_file(root / file, error)) return false;
    used_clips.emplace(file, user);
    return true;
}

bool checked_tree::has_clip(const string &file, const string &list, int line) {
    const string name = file.substr(file.find('/') + 1), fault = fault_of_clip_name(name);
    if (name.empty() || fault.empty()) return has_clip(file, place_of(list, line));
    add(kinds::kClipName, list, line, fault);
    return true;
}

std::vector<string> checked_tree::unused_clips(const string &directory) const {
    std::vector<string> unused;
    if (!lists_complete_ || in_missing_directory(directory)) return unused;
    std::error_code error;
    for (fs::recursive_directory_iterator file(root / directory, error), end; !error && file != end;
         file.increment(error)) {
        const string name = file->path().lexically_relative(root).string();
        std::error_code unknown;
        if (!file->is_directory(unknown) && used_clips.count(name) == 0) unused.push_back(name);
    }
    std::sort(unused.begin(), unused.end());
    return unused;
}

std::optional<string> checked_tree::read_text(const string &file) {
    const fs::path path = root / file;
    std::error_code error;
    if (in_missing_directory(file)) return std::nullopt;
    try {
        if (fs::is_regular_file(path, error)) return read_file(path);
        const bool exists = fs::exists(path, error);
        add(exists ? kinds::kFileUnreadable : kinds::kFileMissing, file, 0,
            exists ? "this is not a regular file" : "there is no such file");
    } catch (const failure &why) {
        add(kinds::kFileUnreadable, file, 0, why.what());
    }
    mark_lists_incomplete();
    return std::nullopt;
}

std::vector<text_line> checked_tree::read_lines(const string &file) {
    const string bytes = read_text(file).value_or("");
    std::vector<text_line> lines;
    if (bytes.rfind(kByteOrderMark, 0) == 0) {
        add(kinds::kByteOrderMark, file, 1, "the file begins with a byte-order mark");
    }
    int returns = 0, first_return = 0;
    for (string &raw : lines_of(bytes)) {
        const int number = static_cast<int>(lines.size()) + 1;
        string text = number == 1 && raw.rfind(kByteOrderMark, 0) == 0 ? raw.substr(3) : raw;
        if (text.find('\r') != string::npos) {
            text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
            if (returns++ == 0) first_return = number;
        }
        const bool well_formed = is_utf8(text);
        if (!well_formed) add(kinds::kNotUtf8, file, number, "the line is not UTF-8");
        lines.push_back({number, well_formed, std::move(raw), std::move(text)});
    }
    if (returns > 0) {
        add(kinds::kCarriageReturn, file, first_return,
            "carriage returns in " + std::to_string(returns) + " of " +
                std::to_string(lines.size()) + " lines, the first one here");
    }
    return lines;
}

std::vector<lexicon_entry> checked_tree::read_entries(const string &file) {
    std::vector<lexicon_entry> entries;
    for (const text_line &line : read_lines(file)) {
        const size_t equals = line.text.find('='), raw_equals = line.raw.find('=');
        if (line.text.empty()) {
            add(kinds::kEmptyLine, file, line.number, "the line is empty");
        } else if (line.is_utf8 && equals == string::npos) {
            add(kinds::kNoEquals, file, line.number, "\"" + line.text + "\" has no =");
        } else if (line.is_utf8) {
            entries.push_back({line.number, line.text.substr(0, equals),
                               line.text.substr(equals + 1), line.raw.substr(0, raw_equals),
                               line.raw.substr(raw_equals + 1)});
        }
    }
    dict_map loaded;
    load_pinyin_dict((root / file).string(), loaded);
    count_memory(loaded);
    return entries_in_effect(file, entries, loaded);
}

std::vector<lexicon_entry> checked_tree::entries_in_effect(
    const string &file, const std::vector<lexicon_entry> &entries, const dict_map &loaded) {
    struct line_pair {
        const lexicon_entry *first, *winner;
    };
    std::map<string, line_pair> lines;
    for (const lexicon_entry &entry : entries) {
        line_pair &of_key = lines.emplace(entry.raw_key, line_pair{&entry, nullptr}).first->second;
        const auto found = loaded.find(entry.raw_key);
        const bool wins = found != loaded.end() && found->second == entry.raw_value;
        if (wins && of_key.winner == nullptr) of_key.winner = &entry;
    }
    std::vector<lexicon_entry> kept;
    for (const lexicon_entry &entry : entries) {
        const auto [first, winner] = lines.at(entry.raw_key);
        if (&entry == winner) kept.push_back(entry);
        // Without a winner, the engine took a line that is not UTF-8, which was reported.
        if (&entry == first || winner == nullptr) continue;
        const bool same = entry.raw_value == first->raw_value;
        add(same ? kinds::kDuplicateKey : kinds::kConflictingKey, file, entry.line,
            entry.key + " is in the file twice: " + first->value + " in line " +
                std::to_string(first->line) + ", " + entry.value + " here; " + winner->value +
                " is taken");
    }
    return kept;
}

void checked_tree::count_memory(const dict_map &loaded) {
    constexpr size_t kNode = block_bytes(sizeof(dict_map::value_type) + 2 * sizeof(void *));
    size_t bytes = loaded.bucket_count() * sizeof(void *) + loaded.size() * kNode;
    for (const auto &[key, value] : loaded) bytes += bytes_beside(key) + bytes_beside(value);
    result.lexicon_bytes += bytes;
}

void checked_tree::count_memory(const phone_list &loaded) {
    size_t bytes = loaded.capacity() * sizeof(string);
    for (const string &name : loaded) bytes += bytes_beside(name);
    result.lexicon_bytes += bytes;
}

std::vector<split_rawData> segments_of(const string &text) {
    try {
        string in_words = num2cn(getNumStrArray(text), text);
        return split_ch_eng(in_words);
    } catch (const std::exception &) {  // a number of zeros
        return {};
    }
}

bool is_looked_up_as(const string &key, size_t count, int type) {
    const std::vector<split_rawData> segments = segments_of(key);
    string joined_segments;
    for (const split_rawData &segment : segments) {
        if (segment.type != type) return false;
        joined_segments += segment.str;
    }
    return segments.size() == count && joined_segments == key;
}

void check_chinese_key(checked_tree &tree, const string &file, const lexicon_entry &entry,
                       size_t characters) {
    if (is_looked_up_as(entry.key, characters, 1)) return;
    tree.add(kinds::kKeyUnreachable, file, entry.line,
             "\"" + entry.key + "\" is not " + std::to_string(characters) +
                 " character(s) of three bytes");
}

string place_of(const string &file, int line) {
    return line > 0 ? file + ":" + std::to_string(line) : file;
}

}  // namespace tts_voice
