#include "recordings/import.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <vector>

#include "check/check.h"
#include "common/files.h"
#include "common/ini.h"
#include "common/messages.h"
#include "common/voice_names.h"
#include "lists.h"
#include "plan.h"
#include "progress.h"
#include "recordings/import_clip.h"
#include "recordings/script.h"
#include "staged_tree.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

const char kImportNames[] =
    "Recordings are named after what they speak, in any format libsndfile reads:\n"
    "  phones/hao3.wav hao3_1.flac hao3_2.wav   a syllable last, first, inside a sentence\n"
    "  phones/tian1_tian1.wav                   a syllable twice, one clip\n"
    "  english/hello.wav                        a word, a letter, or a new word\n"
    "  greetings/welcome_ch.wav                 a clip of greetings.ini\n"
    "They may lie in WAVDIR itself when only one of the three has the name: \"a\" and \"me\" are\n"
    "phones and words, so they need their directory. One recording of a syllable serves all of\n"
    "its places. tts-voice script tells what to record first.";

namespace {

using std::string;

failure unusable(const std::vector<string> &problems) {
    return failure(std::to_string(problems.size()) + " recording(s) cannot be used:\n  " +
                   joined(problems, "\n  "));
}

constexpr char kLicences[] = "LICENSES.md";

// Finds the recordings and the clips that they become.
class recording_finder {
  public:
    recording_finder(const voice_phones &phones, const std::vector<recording> &script)
        : phones_(phones) {
        for (const recording &r : script) {
            if (r.folder != "phones") named_[r.folder][r.name] = r.clip;
        }
    }

    // Clip in the tree -> recording. Throws when a name is wrong.
    std::map<string, fs::path> find(const fs::path &directory) {
        read_directory(directory, "");
        if (problems_.empty() && found_.empty()) {
            throw failure(directory.string() + ": no recordings in it");
        }
        if (!problems_.empty()) throw unusable(problems_);
        return std::move(found_);
    }

  private:
    void read_directory(const fs::path &directory, const string &folder);
    void add(const fs::path &path, const string &folder);
    std::vector<string> clips_named(const string &name, const string &folder) const;

    const voice_phones &phones_;
    std::map<string, std::map<string, string>> named_;  // folder -> name -> clip
    std::map<string, fs::path> found_;
    std::vector<string> problems_;
};

void recording_finder::read_directory(const fs::path &directory, const string &folder) {
    std::error_code error;
    std::vector<fs::path> paths;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().filename().string()[0] != '.') paths.push_back(entry->path());
    }
    if (error) throw failure("cannot read " + directory.string() + ": " + error.message());
    std::sort(paths.begin(), paths.end());
    for (const fs::path &path : paths) {
        const string name = path.filename().string();
        if (!fs::is_directory(path, error)) {
            add(path, folder);
        } else if (folder.empty() &&
                   (name == "phones" || name == "english" || name == "greetings")) {
            read_directory(path, name);
        } else {
            problems_.push_back(path.string() +
                                ": a directory that is none of phones, english, greetings");
        }
    }
}

std::vector<string> recording_finder::clips_named(const string &name, const string &folder) const {
    std::vector<string> clips;
    if (folder.empty() || folder == "phones") {
        if (can_be_phone(name, phones_)) clips.push_back(phone_clip(name));
    }
    for (const auto &[kind, names] : named_) {
        const auto clip = names.find(name);
        if ((folder.empty() || folder == kind) && clip != names.end()) {
            clips.push_back(clip->second);
        }
    }
    if (clips.empty() && folder == "english" && is_word(name)) {
        clips.push_back(english_clip(file_of_word(name)));
    }
    return clips;
}

void recording_finder::add(const fs::path &path, const string &folder) {
    const string name = path.stem().string();
    const std::vector<string> clips = clips_named(name, folder);
    std::error_code unknown;
    if (!fs::is_regular_file(path, unknown)) {
        problems_.push_back(path.string() + ": no ordinary file");
    } else if (clips.empty()) {
        const string kinds = folder.empty()        ? "phone, English clip or greeting"
                             : folder == "phones"  ? "phone"
                             : folder == "english" ? "word of letters a to z"
                                                   : "greeting";
        problems_.push_back(
            path.string() + ": \"" + name + "\" is no " + kinds + " of this voice" +
            (folder.empty() && is_word(name) ? "; new words go into english/" : ""));
    } else if (clips.size() > 1) {
        problems_.push_back(path.string() + ": \"" + name + "\" can be " + joined(clips, " or ") +
                            "; put it into phones/, english/ or greetings/");
    } else if (const auto [earlier, is_new] = found_.emplace(clips[0], path); !is_new) {
        problems_.push_back(path.string() + ": " + earlier->second.string() + " is the same clip");
    }
}

struct planned_clip {
    fs::path recording;
    clip_form form;
};

// A syllable is only a phone with a plain clip, which the engine also takes for the places that
// have none of their own. So without a plain recording, another one is made the plain clip.
std::map<string, planned_clip> with_plain_clips(const std::map<string, fs::path> &found,
                                                const voice_phones &phones) {
    std::map<string, planned_clip> clips;
    for (const auto &[clip, path] : found) clips[clip] = {path, form_of(clip)};
    for (const string &syllable : phones.syllables) {
        const string plain = phone_clip(syllable);
        for (const clip_place place : {clip_place::inside, clip_place::first}) {
            const auto placed = clips.find(phone_clip(syllable, place));
            if (clips.count(plain) || placed == clips.end()) continue;
            clips[plain] = placed->second;
            clips.erase(placed);
        }
    }
    return clips;
}

// Writes the recorded clips; returns their bytes. All recordings are heard before it gives up.
size_t write_recorded(const std::map<string, planned_clip> &clips, const staged_tree &tree,
                      bool show_progress) {
    clip_importer importer;
    std::vector<string> problems, warnings;
    size_t bytes = 0;
    {
        progress_bar bar(clips.size(), show_progress);
        for (const auto &[clip, planned] : clips) {
            const string path = planned.recording.string();
            string pcm;
            try {
                const recorded_sound recorded = read_recording(planned.recording);
                pcm = to_pcm16(importer.make(recorded, planned.form));
                if (recorded.clipped) {
                    warnings.push_back(path + ": clipped; record it again with less gain");
                }
                if (recorded.cut_off) {
                    warnings.push_back(path + ": shorter than its header tells; is it whole?");
                }
            } catch (const failure &why) {
                problems.push_back(path + ": " + why.what());
            }
            tree.write_clip(clip, pcm);
            bytes += pcm.size();
            bar.step();
        }
    }
    if (!problems.empty()) throw unusable(problems);
    for (const string &warning : warnings) warn(warning);
    return bytes;
}

// Copies what is not recorded from another voice. The two voices are not mixed within a syllable,
// and a double or phrase is left to its syllables where they are all recorded, unless a character
// reads so.
void fill_from(const fs::path &voice, const staged_tree &tree, const voice_phones &phones,
               const std::map<string, planned_clip> &recorded) {
    std::set<string> readings;
    for (const entry &e : read_lexicon(voice / "pinyin_dict.txt")) readings.insert(e.value);
    // Phrases write er5 where the phone is er.
    const auto is_recorded = [&](const string &syllable) {
        return recorded.count(phone_clip(syllable)) != 0 ||
               (tone_of(syllable) == 5 && recorded.count(phone_clip(with_tone(syllable, 5))));
    };
    const auto is_spoken = [&](const string &file) {
        if (recorded.count(file)) return true;
        const clip_name clip = parse_clip(file);
        if (clip.directory != kPhoneDirectory) return file == kGreetingFile;
        if (clip.kind == clip_kind::syllable) return recorded.count(phone_clip(clip.reading)) != 0;
        if (!phones.phrases.count(clip.name) || readings.count(clip.name)) return false;
        return !clip.syllables.empty() &&
               std::all_of(clip.syllables.begin(), clip.syllables.end(), is_recorded);
    };
    for (const char *directory : kClipDirectories) {
        for (const fs::directory_entry &file : fs::directory_iterator(voice / directory)) {
            const string clip = file.path().lexically_relative(voice).string();
            if (!file.is_regular_file() || is_spoken(clip)) continue;
            tree.write_clip(clip, read_file(file.path()));
        }
    }
    if (fs::exists(voice / kLicences))
        write_file(tree.root() / kLicences, read_file(voice / kLicences));
}

// Writes the text files with only what the tree has clips for.
class text_writer {
  public:
    text_writer(const voice_texts &texts, const std::map<string, planned_clip> &recorded,
                const fs::path &root)
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
    const std::map<string, planned_clip> &recorded_;
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
    for (const auto &[file, planned] : recorded_) {
        const clip_name clip = parse_clip(file);
        if (clip.directory == kPhoneDirectory && !phones.pairs.count(clip.name)) list(clip.name);
    }
    write_file(root_ / "yinsu.txt", text);
}

template <typename Kept>
void text_writer::write_lexicon(const char *file, Kept is_kept) {
    string text;
    for (const string &line : lines_of(texts_.files.at(file))) {
        const size_t equals = line.find('=');
        if (equals != string::npos && is_kept(line.substr(equals + 1))) text += line + "\n";
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
    for (const auto &[clip, planned] : recorded_) {
        const string word = planned.recording.stem().string();
        const string file = file_of_word(word);
        if (clip == english_clip(file) && is_word(word)) words[word] = file;
    }
    string text;
    for (const auto &[word, clips] : words) {
        text.append(word).append("\n").append(clips).append("\n");
    }
    write_file(root_ / "eng_dict.txt", text);
}

// Requests name greetings by their number, so no section goes: it only loses the name of a clip
// that is not there.
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

// What is still to be recorded. The finer forms of a syllable, for its place, are no loss.
struct inventory {
    std::vector<recording> missing;
    double share = 0;  // of running text that is spoken by recordings
};

inventory take_inventory(const std::vector<recording> &script,
                         const std::map<string, planned_clip> &recorded) {
    inventory result;
    for (const recording &r : script) {
        if (r.part == script_part::last || r.part == script_part::first) continue;
        const bool syllable = r.part == script_part::inside || r.part == script_part::rare;
        if (!recorded.count(syllable ? phone_clip(parse_phone(r.name).reading) : r.clip)) {
            result.missing.push_back(r);
        } else if (r.part == script_part::inside) {
            result.share += r.share;
        }
    }
    return result;
}

void tell(const fs::path &target, size_t recordings, size_t bytes, const inventory &inventory) {
    constexpr size_t kShown = 10;
    char figures[100];
    std::snprintf(figures, sizeof figures,
                  ": %zu recordings, %.1f MB, speak %.1f %% of the characters of running text\n",
                  recordings, static_cast<double>(bytes) / 1e6, 100 * inventory.share);
    string text = printable(target.string()) + figures;
    if (!inventory.missing.empty()) {
        text += std::to_string(inventory.missing.size()) +
                " not recorded, listed in missing.txt, the most useful first:";
        for (size_t i = 0; i < inventory.missing.size() && i < kShown; ++i) {
            text += " " + printable(inventory.missing[i].folder + "/" + inventory.missing[i].name);
        }
        text += "\n";
    }
    print(text);
}

void require_outside(const fs::path &inner, const fs::path &outer) {
    const fs::path way =
        fs::weakly_canonical(inner).lexically_relative(fs::weakly_canonical(outer));
    if (way.empty() || *way.begin() == "..") return;
    throw failure(inner.string() + " lies inside " + outer.string() +
                  "; write the voice to another place");
}

}  // namespace

void import_voice(const import_options &options) {
    // A voice among the recordings would be taken for some the next time, and what lies inside a
    // voice goes with it when it is replaced.
    require_outside(options.target, options.recordings);
    require_outside(options.recordings, options.target);
    if (!options.fill.empty()) require_no_errors(options.fill, options.fill.string());
    staged_tree tree(options.target);
    voice_texts texts;
    voice_plan plan;
    if (options.fill.empty()) {
        plan = make_plan(options.data);
        texts = texts_of_plan(plan, options.data);
    } else {
        texts = texts_of_tree(options.fill);
    }
    const voice_phones phones = phones_of(texts);
    const std::vector<recording> script =
        recordings_of(texts, options.data / "character_counts.txt");
    const std::map<string, fs::path> found =
        recording_finder(phones, script).find(options.recordings);
    const std::map<string, planned_clip> clips = with_plain_clips(found, phones);

    for (const char *directory : kClipDirectories) make_directory(tree.root() / directory);
    const size_t bytes = write_recorded(clips, tree, options.show_progress);
    if (options.fill.empty()) {
        for (const silence &s : plan.silences) {
            tree.write_clip(s.file, silent_pcm16(s.length_ms));
        }
        write_file(tree.root() / kLicences, read_file(options.data / kLicences));
    } else {
        fill_from(options.fill, tree, phones, clips);
    }
    text_writer(texts, clips, tree.root()).write(phones);
    const inventory inventory = take_inventory(script, clips);
    write_file(tree.root() / "missing.txt", script_as_text(inventory.missing, inventory.share));
    require_no_errors(tree.root(), "the finished voice");
    tree.seal("Made by tts-voice import " TTS_VOICE_VERSION ".\n");
    tree.publish();
    tell(options.target, found.size(), bytes, inventory);
}

}  // namespace tts_voice
