#include "recordings/voice_texts.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "common/files.h"
#include "common/ini.h"
#include "common/voice_names.h"
#include "lists.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

class text_writer {
  public:
    text_writer(const voice_texts &texts, const std::set<string> &recorded, const fs::path &root)
        : texts_(texts), recorded_(recorded), root_(root) {}

    void write(const voice_phones &phones) {
        write_phones(phones);
        const auto is_phone = [&](const string &name) { return listed_.count(name) != 0; };
        write_lexicon("pinyin_dict.txt", is_phone);
        write_lexicon("surname_pinyin_single.txt", [&](const string &name) {
            return has(phone_clip(name, clip_place::first)) || has(phone_clip(name));
        });
        write_lexicon("surname_pinyin_dural.txt",
                      [&](const string &name) { return has(phone_clip(name, clip_place::first)); });
        write_lexicon("dst_temperature.txt", [&](const string &names) {
            const std::vector<string> parts = split(names, ' ');
            return std::all_of(parts.begin(), parts.end(), is_phone);
        });
        write_english();
        write_greetings();
    }

  private:
    bool has(const string &clip) const { return fs::exists(root_ / clip); }
    void write_phones(const voice_phones &phones);
    template <typename Kept>
    void write_lexicon(const char *file, Kept is_kept);
    void write_english();
    void write_greetings();

    const voice_texts &texts_;
    const std::set<string> &recorded_;
    const fs::path &root_;
    std::set<string> listed_;
};

void text_writer::write_phones(const voice_phones &phones) {
    string text;
    const auto list = [&](const string &name) {
        if (has(phone_clip(name)) && listed_.insert(name).second) text += name + "\n";
    };
    for (const string &name : lines_of(texts_.files.at("yinsu.txt"))) {
        if (!name.empty()) list(name);
    }
    for (const string &file : recorded_) {
        const clip_name clip = parse_clip(file);
        if (clip.directory == kPhoneDirectory && !phones.pairs.count(clip.name)) list(clip.name);
    }
    write_file(root_ / "yinsu.txt", text);
}

template <typename Kept>
void text_writer::write_lexicon(const char *file, Kept is_kept) {
    string text;
    for (const auto &[key, value] : entries_in(texts_, file)) {
        if (is_kept(value)) text.append(key).append("=").append(value).append("\n");
    }
    write_file(root_ / file, text);
}

void text_writer::write_english() {
    std::map<string, string> words;
    const std::vector<string> lines = lines_of(texts_.files.at("eng_dict.txt"));
    for (size_t i = 0; i + 1 < lines.size(); i += 2) {
        const std::vector<string> clips = split(lines[i + 1], ',');
        const bool complete = std::all_of(clips.begin(), clips.end(), [&](const string &clip) {
            return has(english_clip(clip));
        });
        if (complete) words.emplace(lines[i], lines[i + 1]);
    }
    for (const string &file : recorded_) {
        const clip_name clip = parse_clip(file);
        const string &word = clip.reading;
        if (clip.kind == clip_kind::english && clip.name == file_of_word(word) && is_word(word)) {
            words[word] = clip.name;
        }
    }
    string text;
    for (const auto &[word, clips] : words) {
        text.append(word).append("\n").append(clips).append("\n");
    }
    write_file(root_ / "eng_dict.txt", text);
}

// Requests name greetings by their number, so every section stays; only the name of a clip that is
// not there goes.
void text_writer::write_greetings() {
    const ini_ptr ini = require_ini(texts_.greetings);
    bool changed = false;
    for (int i = 1; i < iniparser_getnsec(ini.get()); ++i) {
        for (const char *key : {":ch_name", ":eng_name"}) {
            const string path = iniparser_getsecname(ini.get(), i) + string(key);
            const string clip = ini_value(*ini, path);
            if (clip.empty() || has(greeting_clip(clip))) continue;
            iniparser_unset(ini.get(), path.c_str());
            changed = true;
        }
    }
    if (!changed) return write_file(root_ / kGreetingFile, texts_.files.at(kGreetingFile));
    char *text = nullptr;
    size_t size = 0;
    FILE *const memory = open_memstream(&text, &size);
    if (memory == nullptr) throw std::bad_alloc();
    iniparser_dump_ini(ini.get(), memory);
    const bool written = std::ferror(memory) == 0;
    const bool closed = std::fclose(memory) == 0;
    const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
    if (!written || !closed) throw std::bad_alloc();
    write_file(root_ / kGreetingFile, {text, size});
}

}  // namespace

voice_texts texts_of_plan(const voice_plan &plan, const fs::path &data) {
    voice_texts texts{plan.texts, data / "greetings.ini", {}};
    for (const clip_job &job : plan.clips) {
        if (job.words == 2) texts.spoken[parse_clip(job.file).name] = job.text;
    }
    return texts;
}

voice_texts texts_of_tree(const fs::path &root) {
    voice_texts texts{{}, root / kGreetingFile, {}};
    for (const char *file :
         {"yinsu.txt", "pinyin_dict.txt", "surname_pinyin_single.txt", "surname_pinyin_dural.txt",
          "dst_temperature.txt", "eng_dict.txt", kGreetingFile}) {
        texts.files[file] = read_file(root / file);
    }
    return texts;
}

voice_phones phones_of(const voice_texts &texts) {
    voice_phones phones;
    const auto add = [&](const string &name) {
        const clip_name phone = parse_phone(name);
        if (phone.kind == clip_kind::syllable) {
            phones.syllables.insert(phone.reading);
        } else if (phone.kind != clip_kind::pause && !name.empty()) {
            phones.phrases.insert(name);
        }
    };
    for (const string &name : lines_of(texts.files.at("yinsu.txt"))) add(name);
    for (const auto &[text, name] : entries_in(texts, "surname_pinyin_single.txt")) {
        add(name);
    }
    for (const auto &[text, name] : entries_in(texts, "surname_pinyin_dural.txt")) {
        phones.pairs.insert(clip_at(name, clip_place::first));
    }
    return phones;
}

bool can_be_phone(const string &name, const voice_phones &phones) {
    const clip_name phone = parse_phone(name);
    if (phone.kind == clip_kind::syllable && phones.syllables.count(phone.reading)) return true;
    if (phone.kind == clip_kind::double_syllable && phones.syllables.count(phone.syllables[0])) {
        return true;
    }
    return phones.phrases.count(name) || phones.pairs.count(name);
}

std::vector<std::pair<string, string>> entries_in(const voice_texts &texts, const char *file) {
    std::vector<std::pair<string, string>> entries;
    for (const string &line : lines_of(texts.files.at(file))) {
        const size_t equals = line.find('=');
        if (equals != string::npos) {
            entries.emplace_back(line.substr(0, equals), line.substr(equals + 1));
        }
    }
    return entries;
}

void write_texts(const voice_texts &texts, const voice_phones &phones,
                 const std::set<string> &recorded, const fs::path &root) {
    text_writer(texts, recorded, root).write(phones);
}

}  // namespace tts_voice
