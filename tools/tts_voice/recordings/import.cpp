#include "recordings/import.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <vector>

#include "check/check.h"
#include "common/files.h"
#include "common/messages.h"
#include "common/voice_names.h"
#include "lists.h"
#include "plan/plan.h"
#include "progress.h"
#include "recordings/find_recordings.h"
#include "recordings/import_clip.h"
#include "recordings/script.h"
#include "recordings/script_page.h"
#include "recordings/voice_texts.h"
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
    "They may be in WAVDIR itself when only one of the three has the name: \"a\" and \"me\" are\n"
    "phones and words, so they need their directory. One recording of a syllable serves all of\n"
    "its places. tts-voice script lists what to record first.";

namespace {

using std::string;

constexpr char kLicences[] = "LICENSES.md";

struct planned_clip {
    fs::path recording;
    clip_form form;
};

// A syllable needs a plain clip to be a phone; the engine also plays it in the places that have
// no clip. So where there is no plain recording, another one becomes the plain clip.
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

// Writes the recorded clips; returns their bytes. All recordings are read before it gives up, so
// that the message names all that cannot be used.
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
                    warnings.push_back(path + ": shorter than its header says; is it whole?");
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

// Copies from another voice what is not recorded. The two voices are not mixed within a syllable. A
// double syllable or phrase is not copied when all its syllables are recorded, which then speak it,
// unless it is the reading of a character.
void fill_from(const fs::path &voice, const staged_tree &tree, const voice_phones &phones,
               const std::set<string> &recorded) {
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

// What is still to be recorded. A syllable that is recorded for one place only is not missing.
struct inventory {
    std::vector<recording> missing;
    double share = 0;  // of running text that is spoken by recordings
};

inventory take_inventory(const std::vector<recording> &script, const std::set<string> &recorded) {
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

void print_summary(const fs::path &target, size_t recordings, size_t bytes,
                   const inventory &inventory) {
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
    throw failure(inner.string() + " is inside " + outer.string() +
                  "; write the voice to another place");
}

}  // namespace

void import_voice(const import_options &options) {
    // A voice among the recordings would be read as recordings the next time, and what is inside a
    // voice is removed with it when it is replaced.
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
    const std::map<string, fs::path> found = find_recordings(options.recordings, phones, script);
    const std::map<string, planned_clip> clips = with_plain_clips(found, phones);
    std::set<string> recorded;
    for (const auto &[clip, planned] : clips) recorded.insert(clip);

    for (const char *directory : kClipDirectories) make_directory(tree.root() / directory);
    const size_t bytes = write_recorded(clips, tree, options.show_progress);
    if (options.fill.empty()) {
        for (const silence &s : plan.silences) {
            tree.write_clip(s.file, silent_pcm16(s.length_ms));
        }
        write_file(tree.root() / kLicences, read_file(options.data / kLicences));
    } else {
        fill_from(options.fill, tree, phones, recorded);
    }
    write_texts(texts, phones, recorded, tree.root());
    const inventory inventory = take_inventory(script, recorded);
    write_file(tree.root() / "missing.txt", script_as_text(inventory.missing, inventory.share));
    require_no_errors(tree.root(), "the finished voice");
    tree.seal("Made by tts-voice import " TTS_VOICE_VERSION ".\n");
    tree.publish();
    print_summary(options.target, found.size(), bytes, inventory);
}

}  // namespace tts_voice
