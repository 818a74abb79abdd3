// A whole tree from bytes: the lexicons and the greetings configuration, between marks, then a
// request. Each lexicon gets clips for some of the names in it.
#include <iniparser.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "harness.h"

namespace {

constexpr char kMark = '\x1e';  // behind every file
constexpr const char *kFiles[] = {
    "greetingRaw/greetings.ini", "eng_dict.txt", "pinyin_dict.txt",    "surname_pinyin_single.txt",
    "surname_pinyin_dural.txt",  "yinsu.txt",    "dst_temperature.txt"};
constexpr size_t kMostClips = 24;

int quiet(const char * /*format*/, ...) {
    return 0;
}

// Clips that go when the input is done. Every fourth name gets none; lengths are 1 to 5 bytes.
class clip_set {
  public:
    explicit clip_set(const resource_tree &tree) : tree_(tree) {}
    clip_set(const clip_set &) = delete;
    clip_set &operator=(const clip_set &) = delete;
    ~clip_set() {
        for (const std::string &name : names_) unlink((tree_.root + name).c_str());
    }
    void add(const std::string &directory, const std::string &name) {
        if (++tried_ % 4 == 0 || names_.size() >= kMostClips || name == "pau_beg" ||
            name == "pau_short")
            return;
        if (tree_.clip(directory + name, 1 + tried_ % 5)) names_.push_back(directory + name);
    }
    // Makes sure that a clip is there; false when no file can have the name.
    bool require(const std::string &directory, const std::string &name) {
        if (name == "pau_short" || !tree_.clip(directory + name, 3)) return false;
        names_.push_back(directory + name);
        return true;
    }

  private:
    const resource_tree &tree_;
    std::vector<std::string> names_;
    size_t tried_ = 0;
};

std::string value_of(const std::string &line) {
    return line.substr(line.find('=') + 1);
}

void add_clips(clip_set &clips, const std::string &file, const std::string &bytes) {
    const std::vector<std::string> lines = pieces_of(bytes, '\n');
    for (size_t i = 0; i < std::min<size_t>(lines.size(), kMostClips); ++i) {
        if (file == "yinsu.txt") clips.add("pinyinRaw/", lines[i]);
        if (file.find("surname") == 0) clips.add("pinyinRaw/", value_of(lines[i]) + "_1");
        if (file == "greetingRaw/greetings.ini") clips.add("greetingRaw/", value_of(lines[i]));
        if (file == "eng_dict.txt" && i % 2 == 1) {
            for (const std::string &piece : pieces_of(lines[i], ',')) clips.add("engRaw/", piece);
        }
    }
}

// Whether phrases can be descrambled: the zero bytes of a missing clip are a buffer that no one
// releases, as those of an empty file, so there must be none.
bool require_phrase_clips(clip_set &clips, const dict_map &phrases) {
    return std::all_of(phrases.begin(), phrases.end(), [&](const auto &phrase) {
        const std::vector<std::string> names = pieces_of(phrase.second, ' ');
        return std::all_of(names.begin(), names.end(), [&](const std::string &name) {
            return clips.require("pinyinRaw/", name);
        });
    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const resource_tree tree;
    iniparser_set_error_callback(quiet);
    input bytes(data, size);
    clip_set clips(tree);
    for (const char *name : kFiles) {
        std::string file = bytes.piece(kMark);
        std::replace(file.begin(), file.end(), '/', '|');  // names stay inside the tree
        tree.file(name, file);
        add_clips(clips, name, file);
    }
    // A configuration that cannot be loaded ends the process: that is the library's contract.
    dictionary *const ini = iniparser_load((tree.root + kFiles[0]).c_str());
    if (ini == nullptr) return 0;
    iniparser_freedict(ini);
    const std::unique_ptr<tts_engine_t, engine_owner> engine(
        static_cast<tts_engine_t *>(tts_init_root(tree.root)));
    CHECK(engine->temp_language == 0);
    const int language = bytes.number() % 4;  // 2 and 3 descramble phrase clips
    if (language < 2 || require_phrase_clips(clips, engine->dict_temp))
        engine->temp_language = language;
    check_request(*engine, bytes);
    return 0;
}
