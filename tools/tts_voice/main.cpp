// tts-voice: makes the voice that the engine speaks with.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

#include "build.h"
#include "files.h"
#include "lexicon.h"
#include "speaker.h"

namespace fs = std::filesystem;
using namespace tts_voice;

namespace {

constexpr char kExamples[] =
    "Examples:\n"
    "  tts-voice build build/voice              a voice tree for the engine\n"
    "  tts-voice build --data my-lists my-voice with your own word lists\n"
    "Exit codes: 0 done, 1 failed, 2 wrong usage.";

struct command_line {
    build_options build;
    lexicon_sources lexicon;
    fs::path data = TTS_VOICE_DATA_DIR;
    bool verbose = false;
};

void add_data_option(CLI::App &command, command_line &line) {
    command.add_option("--data", line.data, "Directory of the lists a voice is made from")
        ->capture_default_str();
}

CLI::App *add_build(CLI::App &app, command_line &line) {
    CLI::App *build =
        app.add_subcommand("build", "Speak every clip and write a complete voice tree");
    build
        ->add_option("OUTDIR", line.build.target,
                     "New or empty directory, or an unchanged voice of an earlier build")
        ->required();
    add_data_option(*build, line);
    build->add_flag("--verbose", line.verbose, "Print the tone figures, as on a terminal");
    return build;
}

CLI::App *add_lexicon(CLI::App &app, command_line &line) {
    CLI::App *lexicon = app.add_subcommand(
        "lexicon", "Print pinyin_dict.txt, made from public sources (scripts/lexicon runs this)");
    lexicon->add_option("UNIHAN_READINGS", line.lexicon.unihan_readings, "Unihan_Readings.txt")
        ->required();
    lexicon->add_option("PINYIN_WEIGHTS", line.lexicon.pinyin_weights, "pinyin_simp.dict.yaml")
        ->required();
    add_data_option(*lexicon, line);
    return lexicon;
}

void run_build(command_line &line) {
    line.build.data = line.data;
    line.build.show_progress = isatty(STDERR_FILENO) != 0;
    line.build.show_figures = line.verbose || isatty(STDOUT_FILENO) != 0;
    build_voice(line.build);
}

void run_lexicon(command_line &line) {
    line.lexicon.overrides = line.data / "overrides.txt";
    const std::string text = make_lexicon(line.lexicon);
    std::fwrite(text.data(), 1, text.size(), stdout);
}

// Whoever started us shall see that a signal ended us: it is raised again, and now it ends us.
int obey(int signal) {
    std::fputs("tts-voice: interrupted, nothing was written\n", stderr);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    return 1;
}

int run(int argc, char **argv) {
    command_line line;
    CLI::App app{"Makes the voice that the speech engine speaks with."};
    app.set_version_flag("--version",
                         "tts-voice " TTS_VOICE_VERSION ", espeak-ng " + speaker::version());
    app.footer(kExamples);
    app.require_subcommand(1);
    const CLI::App *build = add_build(app, line);
    add_lexicon(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    catch_interruptions();
    build->parsed() ? run_build(line) : run_lexicon(line);
    if (std::fflush(stdout) != 0) throw failure("cannot write to standard output");
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const interruption &stop) {
        return obey(stop.signal);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "tts-voice: %s\n", error.what());
        return 1;
    }
}
