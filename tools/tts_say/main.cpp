// tts-say: speaks text from the command line, a file or standard input.
#include <android/log.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "common/files.h"
#include "common/messages.h"
#include "explain.h"
#include "output.h"
#include "session.h"

namespace fs = std::filesystem;
using namespace tts_tools;

namespace {

constexpr double kBytesPerSecond = 32000;

std::string_view sound_of(std::string_view image) {
    return image.substr(sizeof(Wav));
}

// Shows how a line was spoken if that was asked for; else warns when speech was dropped.
void report_speech(const options &o, const speech_report &report, const utterance &line) {
    if (o.explain) {
        const std::string table =
            printable(line.where + ": " + line.text) + "\n" + explain(report) + "\n";
        show(table, is_standard_output(o.output));
    } else if (!report.dropped.empty()) {
        warn(line.where + ": speech dropped: " + drop_reason(report));
    }
}

// The header of all lines as one image. They are spoken once more for it: a pipe cannot be
// rewound, and a text may have more sound than memory.
Wav common_header(const options &o, session &s, const std::vector<utterance> &lines) {
    uint64_t sound = 0;
    Wav wav = {};
    for (const utterance &line : lines) {
        const std::string_view image = speak(s, line);
        if (image.empty()) continue;
        memcpy(&wav, image.data(), sizeof(wav));
        sound += sound_of(image).size();
    }
    if (sound > UINT32_MAX - sizeof(wav)) {
        throw failure(name_of_output(o.output) +
                      ": more sound than a WAV file can hold; --raw has no limit");
    }
    wav.data.length = static_cast<uint32_t>(sound);
    wav.riff.resource_length = static_cast<uint32_t>(sound + sizeof(wav) - 8);
    return wav;
}

void say_to_stream(const options &o, session &s, const std::vector<utterance> &lines) {
    const Wav wav = o.raw ? Wav{} : common_header(o, s, lines);
    if (s.unreadable.size() == lines.size()) return;
    sink out(o.output);
    if (!o.raw) out.write({reinterpret_cast<const char *>(&wav), sizeof(wav)});
    for (const utterance &line : lines) {
        const std::string_view image = speak(s, line);
        if (image.empty()) continue;
        report_speech(o, s.report, line);
        out.write(sound_of(image));
    }
    out.finish();
}

// say.wav, or of several lines say-1.wav, say-2.wav and so on.
std::string file_name(const std::string &output, size_t number, size_t count) {
    if (count == 1) return output;
    const fs::path path = output;
    fs::path name = path.stem();
    name += "-" + std::to_string(number);
    name += path.extension();
    return path.parent_path() / name;
}

void say_to_file(const options &o, std::string_view image, const std::string &name) {
    replace_file(name, o.raw ? sound_of(image) : image);
    if (!o.announce) return;
    char seconds[32];
    snprintf(seconds, sizeof(seconds), "%.2f s",
             static_cast<double>(sound_of(image).size()) / kBytesPerSecond);
    show(printable(fs::absolute(name).string()) + ": " + seconds + "\n");
}

void say_to_files(const options &o, session &s, const std::vector<utterance> &lines) {
    if (!o.output.empty()) clear_leftovers_beside(o.output);
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string_view image = speak(s, lines[i]);
        if (image.empty()) continue;
        report_speech(o, s.report, lines[i]);
        if (o.output.empty()) continue;
        say_to_file(o, image, file_name(o.output, i + 1, lines.size()));
    }
}

std::vector<utterance> read_lines(const options &o) {
    if (o.text.empty()) {
        return cut_lines(read_text(o.file), o.file == "-" ? "standard input" : o.file);
    }
    std::string text;
    for (const std::string &word : o.text) text += (text.empty() ? "" : " ") + word;
    return cut_lines(text, "TEXT");
}

int run(int argc, char **argv) try {
    const options o = read_options(argc, argv);
    const std::vector<utterance> lines = read_lines(o);
    check_tree(o.root);
    take_standard_output(o.verbose);
    if (!o.verbose) __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    session s = open_session(o);
    if (!o.output.empty() && takes_all_lines(o.output)) {
        say_to_stream(o, s, lines);
    } else {
        say_to_files(o, s, lines);
    }
    close_standard_output();
    return s.unreadable.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const nothing_to_say &end) {
    return end.status;
}

}  // namespace

int main(int argc, char **argv) {
    return run_program(run, argc, argv);
}
