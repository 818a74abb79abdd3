#include "check.h"

#include <iniparser.h>

#include <algorithm>
#include <memory>
#include <set>

#include "lists.h"

namespace fs = std::filesystem;

namespace tts_voice {

namespace {

using std::string;

class checker {
  public:
    explicit checker(fs::path root) : root_(std::move(root)) {}

    std::vector<string> run() {
        check_phones();
        check_characters();
        check_temperature();
        check_surnames();
        check_english();
        check_greetings();
        return faults_;
    }

  private:
    void check_phones();
    void check_characters();
    void check_temperature();
    void check_surnames();
    void check_english();
    void check_greetings();

    void fault(const string &text) { faults_.push_back(text); }
    std::vector<entry> entries_of(const char *file);
    void require_phone(const entry &e, const string &phone);
    void require_clip(const string &where, const fs::path &file);

    fs::path root_;
    std::set<string> phones_;
    std::vector<string> faults_;
};

void checker::require_clip(const string &where, const fs::path &file) {
    std::error_code error;
    const auto size = fs::file_size(root_ / file, error);
    if (error) {
        fault(where + ": no clip " + file.string());
    } else if (size == 0 || size % 2 != 0) {
        fault(where + ": clip " + file.string() + " has " + std::to_string(size) +
              " bytes, not a positive even number");
    }
}

std::vector<entry> checker::entries_of(const char *file) {
    std::vector<entry> entries = read_lexicon(root_ / file);
    std::set<string> keys;
    for (const entry &e : entries) {
        if (!keys.insert(e.key).second) fault(e.where + ": " + e.key + " stands in the file twice");
    }
    return entries;
}

void checker::require_phone(const entry &e, const string &phone) {
    if (!phones_.count(phone))
        fault(e.where + ": " + e.key + " needs " + phone + ", no phone of yinsu.txt");
}

void checker::check_phones() {
    const std::vector<string> names = lines_of(read_file(root_ / "yinsu.txt"));
    if (names.empty()) return fault("yinsu.txt: no phone in it");
    for (const string &name : names) {
        if (name.empty() || name.back() == '\r') {
            fault("yinsu.txt: an empty line or a carriage return");
            continue;
        }
        // The engine stops a search at the first phone that equals the last one.
        if (!phones_.insert(name).second) fault("yinsu.txt: " + name + " stands in it twice");
        require_clip("yinsu.txt", fs::path("pinyinRaw") / name);
    }
    if (!phones_.count("pau_short")) fault("yinsu.txt: no pau_short for unknown characters");
}

void checker::check_characters() {
    for (const entry &e : entries_of("pinyin_dict.txt")) {
        require_phone(e, e.value);
        if (e.value.find('3') != string::npos) {
            string sandhi = e.value;
            std::replace(sandhi.begin(), sandhi.end(), '3', '2');
            require_phone(e, sandhi);
        }
    }
}

void checker::check_temperature() {
    for (const entry &e : entries_of("dst_temperature.txt")) {
        const std::vector<string> names = split(e.value, ' ');
        for (const string &name : names) require_phone(e, name);
        if (names.size() > characters_of(e.key, e.where).size()) {
            fault(e.where + ": more clips than characters");
        }
    }
}

void checker::check_surnames() {
    for (const char *file : {"surname_pinyin_single.txt", "surname_pinyin_dural.txt"}) {
        for (const entry &e : entries_of(file)) {
            require_clip(e.where, fs::path("pinyinRaw") / (e.value + "_1"));
        }
    }
}

void checker::check_english() {
    const std::vector<string> lines = lines_of(read_file(root_ / "eng_dict.txt"));
    if (lines.size() % 2 != 0) fault("eng_dict.txt: the last word has no line of clips");
    for (size_t i = 0; i + 1 < lines.size(); i += 2) {
        for (const string &piece : split(lines[i + 1], ',')) {
            require_clip("eng_dict.txt: " + lines[i], fs::path("engRaw") / piece);
        }
    }
}

void checker::check_greetings() {
    require_clip("leading pause", "greetingRaw/pau_beg");
    const fs::path path = root_ / "greetingRaw" / "greetings.ini";
    const std::unique_ptr<dictionary, void (*)(dictionary *)> ini(iniparser_load(path.c_str()),
                                                                  iniparser_freedict);
    if (!ini || iniparser_getnsec(ini.get()) < 1) return fault("greetings.ini: not readable");
    const string first = iniparser_getsecname(ini.get(), 0);
    if (first != "default_config") fault("greetings.ini: the first section is not default_config");
    for (int i = 1; i < iniparser_getnsec(ini.get()); ++i) {
        const string section = iniparser_getsecname(ini.get(), i);
        for (const char *key : {":ch_name", ":eng_name"}) {
            const string name = iniparser_getstring(ini.get(), (section + key).c_str(), "");
            if (name.size() > 31) fault("greetings.ini: " + name + " is longer than 31 bytes");
            require_clip("greetings.ini: " + section + key, fs::path("greetingRaw") / name);
        }
    }
}

}  // namespace

std::vector<string> faults_of(const fs::path &root) {
    return checker(root).run();
}

}  // namespace tts_voice
