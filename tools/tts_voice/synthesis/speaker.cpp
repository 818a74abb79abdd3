#include "synthesis/speaker.h"

#include <espeak-ng/espeak_ng.h>
#include <espeak-ng/speak_lib.h>

#include <cstdlib>

#include "common/files.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

// The stock male voice spans less than four semitones, too little to tell the tones apart; the male
// variant gives it seven and is higher. The stock female variants come with an echo, whose tail
// would be cut at every join. The ranges are the pitch range of each language, 0..100.
constexpr char kVariantName[] = "tts-voice";
constexpr struct {
    const char *variant;
    int mandarin_range, english_range;
    double least_high_tone_hz;
} kTimbres[] = {
    {"language variant\nname tts-voice\ngender male\npitch 85 170\n", 60, 50, 125},
    {"language variant\nname tts-voice\ngender female\npitch 150 290\n"
     "formant 0 105 80 150\nformant 1 110 80 160\nformant 2 110 70 150\nformant 3 110 70 150\n"
     "formant 4 115 80 150\nformant 5 115 80 150\nbreath 0 2 3 3 3 3 3 2\n",
     70, 50, 215},
};

const auto &settings_of(timbre voice) {
    return kTimbres[static_cast<size_t>(voice)];
}

// The prefix of our temporary directories; those of killed runs are removed.
fs::path temporary_prefix() {
    std::error_code error;
    const char *const chosen = getenv("TMPDIR");
    if (chosen != nullptr && *chosen == '\0') unsetenv("TMPDIR");
    const fs::path directory = fs::temp_directory_path(error);
    if (error) throw failure("no directory for temporary files, see TMPDIR: " + error.message());
    fs::path prefix = directory / "tts-voice-";
    clear_leftovers(prefix);
    return prefix;
}

fs::path system_data() {
    const char *path = nullptr;
    espeak_ng_InitializePath(nullptr);
    espeak_Info(&path);
    return path ? path : "";
}

// espeak-ng finds a voice variant only below its data directory, so this makes one that links to
// the contents of the system's, with its own voices directory.
void make_data_directory(const fs::path &system, const fs::path &own, timbre voice) {
    std::error_code error;
    fs::directory_iterator entries(system, error);
    if (error)
        throw failure("cannot read espeak-ng's data " + system.string() + ": " + error.message());
    make_directory(own);
    for (const fs::directory_entry &entry : entries) {
        if (entry.path().filename() == "voices") continue;
        fs::create_symlink(entry.path(), own / entry.path().filename(), error);
        if (error) throw failure("cannot link into " + own.string() + ": " + error.message());
    }
    make_directory(own / "voices");
    make_directory(own / "voices" / "!v");
    write_file(own / "voices" / "!v" / kVariantName, settings_of(voice).variant);
}

utterance *recording = nullptr;  // where the callback puts what is being spoken

int record(short *sound, int count, espeak_EVENT *events) {
    for (int i = 0; sound && i < count; ++i) {
        recording->sound.push_back(static_cast<float>(sound[i]) / 32768.0F);
    }
    for (; events->type != espeakEVENT_LIST_TERMINATED; ++events) {
        if (events->type == espeakEVENT_WORD) {
            recording->word_starts.push_back(static_cast<size_t>(events->sample));
        }
    }
    return 0;
}

// espeak-ng now and then reports a word in the silence after the last one, 40 ms before the end.
void drop_silent_word(utterance &u, int rate_hz) {
    const size_t shortest_word = samples_in_ms(50, rate_hz);
    if (u.word_starts.size() > 1 && u.sound.size() < u.word_starts.back() + shortest_word) {
        u.word_starts.pop_back();
    }
}

void set(espeak_PARAMETER parameter, int value) {
    if (espeak_SetParameter(parameter, value, 0) != EE_OK) {
        throw failure("espeak-ng refuses parameter " + std::to_string(parameter) + " = " +
                      std::to_string(value));
    }
}

}  // namespace

double least_high_tone_hz(timbre voice) {
    return settings_of(voice).least_high_tone_hz;
}

speaker::speaker(timbre voice)
    : timbre_(voice), data_(temporary_prefix()), directory_(data_.path().c_str()) {
    const fs::path system = system_data();
    make_data_directory(system, data_.path() / "espeak-ng-data", voice);
    // Nothing is played, but espeak-ng looks for a sound server, whose library makes a directory.
    setenv("PULSE_RUNTIME_PATH", data_.path().c_str(), 1);
    // espeak-ng keeps paths in buffers of 160 bytes, which a long TMPDIR fills; this name is short.
    const std::string path = "/proc/self/fd/" + std::to_string(directory_.get());
    rate_hz_ =
        espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, 200, path.c_str(), espeakINITIALIZE_DONT_EXIT);
    if (rate_hz_ <= 0)
        throw failure("espeak-ng does not start with the data in " + system.string());
    espeak_SetSynthCallback(record);
}

speaker::~speaker() {
    espeak_Terminate();
}

std::string speaker::version() {
    const char *path = nullptr;
    return espeak_Info(&path);
}

void speaker::apply(const speaking_style &style) {
    const bool mandarin = style.spoken == language::mandarin;
    const char *name = mandarin ? "cmn-latn-pinyin+tts-voice" : "en-us+tts-voice";
    if (voice_ != name) {
        if (espeak_SetVoiceByName(name) != EE_OK) {
            throw failure(std::string("espeak-ng has no voice ") + name);
        }
        voice_ = name;
    }
    set(espeakRATE, style.rate_wpm);
    set(espeakPITCH, style.pitch);
    const auto &settings = settings_of(timbre_);
    set(espeakRANGE, mandarin ? settings.mandarin_range : settings.english_range);
}

utterance speaker::speak(const speaking_style &style, const std::string &text) {
    apply(style);
    utterance result;
    recording = &result;
    const espeak_ERROR error = espeak_Synth(text.c_str(), text.size() + 1, 0, POS_CHARACTER, 0,
                                            espeakCHARS_UTF8 | espeakPHONEMES, nullptr, nullptr);
    recording = nullptr;
    if (error != EE_OK) throw failure("espeak-ng cannot speak \"" + text + "\"");
    drop_silent_word(result, rate_hz_);
    return result;
}

}  // namespace tts_voice
