#include "recordings/find_recordings.h"

#include <algorithm>

#include "common/voice_names.h"
#include "lists.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

using std::string;

class recording_finder {
  public:
    recording_finder(const voice_phones &phones, const std::vector<recording> &script)
        : phones_(phones) {
        for (const recording &r : script) {
            if (r.folder != "phones") named_[r.folder][r.name] = r.clip;
        }
    }

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
        problems_.push_back(path.string() + ": not a regular file");
    } else if (clips.empty()) {
        const string kinds = folder.empty()        ? "phone, English clip or greeting"
                             : folder == "phones"  ? "phone"
                             : folder == "english" ? "word of letters a to z"
                                                   : "greeting";
        problems_.push_back(
            path.string() + ": \"" + name + "\" is not a " + kinds + " of this voice" +
            (folder.empty() && is_word(name) ? "; new words go into english/" : ""));
    } else if (clips.size() > 1) {
        problems_.push_back(path.string() + ": \"" + name + "\" can be " + joined(clips, " or ") +
                            "; put it into phones/, english/ or greetings/");
    } else if (const auto [earlier, is_new] = found_.emplace(clips[0], path); !is_new) {
        problems_.push_back(path.string() + ": " + earlier->second.string() + " is the same clip");
    }
}

}  // namespace

std::map<string, fs::path> find_recordings(const fs::path &directory, const voice_phones &phones,
                                           const std::vector<recording> &script) {
    return recording_finder(phones, script).find(directory);
}

failure unusable(const std::vector<string> &problems) {
    return failure(std::to_string(problems.size()) + " recording(s) cannot be used:\n  " +
                   joined(problems, "\n  "));
}

}  // namespace tts_voice
