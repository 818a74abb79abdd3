// The lists of a voice, separated by marks, made into a plan; or the sources of the lexicon, made
// into a lexicon. The first character says which.
#include <iniparser.h>

#include <algorithm>
#include <set>

#include "common/files.h"
#include "common/utf8.h"
#include "common/voice_names.h"
#include "harness.h"
#include "lexicon.h"
#include "lists.h"
#include "plan/plan.h"
#include "recordings/script.h"

using namespace tts_tools;
using namespace tts_voice;

namespace {

constexpr char kMark = '\x1e';
constexpr const char *kLists[] = {
    "pinyin_dict.txt",   "pauses.txt",        "signs.txt",          "surnames.txt",
    "temperature.txt",   "doubles.txt",       "everyday_pairs.txt", "english_respelt.txt",
    "english_words.txt", "english_spelt.txt", "greetings.ini",      "character_counts.txt"};
constexpr const char *kSources[] = {"readings", "weights", "overrides"};

int quiet(const char * /*format*/, ...) {
    return 0;
}

// A file of one of the directories for clips, and of nothing else.
void check_file(const std::string &file) {
    const size_t slash = file.find('/');
    CHECK(slash != std::string::npos);
    const std::string directory = file.substr(0, slash), name = file.substr(slash + 1);
    CHECK(directory == "pinyinRaw" || directory == "engRaw" || directory == "greetingRaw");
    CHECK(!name.empty() && name != "." && name != ".." && name.size() < 256);
    CHECK(name.find('/') == std::string::npos && name.find('\0') == std::string::npos);
    CHECK(name != "greetings.ini");
}

void check_plan(const std::string &data) {
    const voice_plan plan = make_plan(data);
    std::set<std::string> files;
    for (const silence &s : plan.silences) {
        check_file(s.file);
        CHECK(s.length_ms >= 1 && s.length_ms <= 5000 && files.insert(s.file).second);
    }
    for (const clip_job &job : plan.clips) {
        check_file(job.file);
        CHECK(files.insert(job.file).second);  // no clip over another
        CHECK(!job.text.empty() && job.tone >= 0 && job.tone <= 5);
        CHECK((job.words > 0) == (job.place != position::alone));
    }
    // What is listed has its clip.
    const voice_texts texts = texts_of_plan(plan, data);
    for (const std::string &name : lines_of(texts.files.at("yinsu.txt"))) {
        CHECK(files.count("pinyinRaw/" + name) == 1);
    }
    const std::vector<std::string> english = lines_of(texts.files.at("eng_dict.txt"));
    CHECK(english.size() % 2 == 0);
    for (size_t i = 1; i < english.size(); i += 2) {
        for (const std::string &clip : split(english[i], ',')) {
            CHECK(files.count("engRaw/" + clip) == 1);
        }
    }
    for (const recording &r : recordings_of(texts, data + "character_counts.txt")) {
        CHECK(files.count(r.clip) == 1);
        CHECK(r.share >= 0 && r.share <= 1);
    }
}

// Characters of three bytes with readings that a plan takes, each once, in the order of Unicode.
void check_lexicon(const std::string &data) {
    const std::string lexicon =
        make_lexicon({data + kSources[0], data + kSources[1], data + kSources[2]});
    std::string last;
    for (const std::string &line : lines_of(lexicon)) {
        const std::string character = line.substr(0, line.find('='));
        CHECK(character.size() == 3 && utf8_bytes(character, 0) == 3 && character > last);
        last = character;
        CHECK(line.size() > 4 && line[3] == '=');
        syllable parsed;
        CHECK(parse_syllable(line.substr(4), parsed) ||
              parse_syllable(line.substr(4) + "5", parsed));
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const resource_tree tree;
    iniparser_set_error_callback(quiet);
    input bytes(data, size);
    const bool plan = bytes.number() % 2 == 0;
    const auto write = [&](const char *name) { tree.file(name, bytes.piece(kMark)); };
    try {
        if (plan) {
            std::for_each(std::begin(kLists), std::end(kLists), write);
            check_plan(tree.root);
        } else {
            std::for_each(std::begin(kSources), std::end(kSources), write);
            check_lexicon(tree.root);
        }
    } catch (const failure &why) {
        CHECK(*why.what() != '\0');
    }
    return 0;
}
