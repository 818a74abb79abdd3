// tts-voice: makes the voice that the engine speaks with.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>

#include "build.h"
#include "check/findings.h"
#include "common/messages.h"
#include "lexicon.h"
#include "recordings/import.h"
#include "recordings/script_page.h"
#include "report/report.h"
#include "synthesis/speaker.h"

namespace fs = std::filesystem;
using namespace tts_tools;
using namespace tts_voice;

namespace {

constexpr char kExamples[] =
    "Examples:\n"
    "  tts-voice build build/voice              a voice tree for the engine\n"
    "  tts-voice build --data my-lists my-voice with your own word lists\n"
    "  tts-voice check build/voice              what is wrong with it\n"
    "  tts-voice report build/voice -o voice.html  a page to look at and to listen to\n"
    "  tts-voice script --first 100 --html      what to record for a voice of your own\n"
    "  tts-voice import recordings my-voice     the voice made of your recordings\n"
    "Exit codes: 0 done, 1 failed or errors found, 2 wrong usage or no tree to check.";

// The lists installed with this program, found from its own path; in a build, those of the source.
fs::path installed_lists() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path lists = program.parent_path().parent_path() / "share/tts-engine/voice";
    return fs::is_directory(lists, error) ? lists : fs::path(TTS_VOICE_DATA_DIR);
}

struct command_line {
    build_options build;
    check_options check;
    import_options import;
    report_options report;
    script_options script;
    lexicon_sources lexicon;
    fs::path data = installed_lists();
    std::string speaker = "m";
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
    build->add_option("--speaker", line.speaker, "Who speaks: m, a man, or f, a woman")
        ->check(CLI::IsMember({"m", "f"}))
        ->capture_default_str();
    add_data_option(*build, line);
    build->add_flag("--verbose", line.verbose, "Print the tone figures, as on a terminal");
    return build;
}

CLI::App *add_check(CLI::App &app, command_line &line) {
    CLI::App *check = app.add_subcommand(
        "check", "Read a tree as the engine does and report what a listener would notice");
    check->add_option("ROOT", line.check.root, "The resource tree")->required();
    check->add_flag("--json", line.check.json, "Print all findings as one JSON object");
    return check;
}

CLI::App *add_report(CLI::App &app, command_line &line) {
    CLI::App *report = app.add_subcommand(
        "report", "Make a page with a voice's figures, its faults, and all clips to play");
    report->add_option("ROOT", line.report.root, "The resource tree")->required();
    report->add_option("-o,--output", line.report.output, "The page, one HTML file")->required();
    add_data_option(*report, line);
    return report;
}

CLI::App *add_import(CLI::App &app, command_line &line) {
    CLI::App *import = app.add_subcommand("import", "Make a voice from recordings of a person");
    import
        ->add_option("WAVDIR", line.import.recordings,
                     "Directory of the recordings, named as below")
        ->required();
    import
        ->add_option("OUTDIR", line.import.target,
                     "New or empty directory, or an unchanged voice of an earlier import")
        ->required();
    import->add_option("--fill", line.import.fill,
                       "A voice whose lexicons are used, and whose clips where none is recorded");
    add_data_option(*import, line);
    import->footer(kImportNames);
    return import;
}

CLI::App *add_script(CLI::App &app, command_line &line) {
    CLI::App *script = app.add_subcommand(
        "script", "Print what to record for a voice, the most useful recordings first");
    script->add_flag("--html", line.script.html, "One page to print or to read from");
    script->add_option("--first", line.script.first, "Only so many recordings")
        ->check(CLI::Range(1, 1000000));
    add_data_option(*script, line);
    return script;
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
    line.build.speaker = line.speaker == "f" ? timbre::female : timbre::male;
    line.build.show_progress = isatty(STDERR_FILENO) != 0;
    line.build.show_figures = line.verbose || isatty(STDOUT_FILENO) != 0;
    build_voice(line.build);
}

void run_lexicon(command_line &line) {
    line.lexicon.overrides = line.data / "overrides.txt";
    print(make_lexicon(line.lexicon));
}

void run_import(command_line &line) {
    line.import.data = line.data;
    line.import.show_progress = isatty(STDERR_FILENO) != 0;
    import_voice(line.import);
}

int run_report(command_line &line) {
    line.report.data = line.data;
    line.report.show_progress = isatty(STDERR_FILENO) != 0;
    return run_report(line.report);
}

void run_script(command_line &line) {
    line.script.data = line.data;
    print(make_script(line.script));
}

// An empty path is the current directory to some calls, and an error without a name to others.
void refuse_empty_names(CLI::App &app) {
    const CLI::Validator named(
        [](std::string &name) { return std::string(name.empty() ? "the name is empty" : ""); }, "");
    for (CLI::App *command : app.get_subcommands([](CLI::App *) { return true; })) {
        for (CLI::Option *option : command->get_options()) option->check(named);
    }
}

int run(int argc, char **argv) {
    command_line line;
    CLI::App app{"Makes the voice that the speech engine speaks with."};
    app.set_version_flag("--version",
                         "tts-voice " TTS_VOICE_VERSION ", espeak-ng " + speaker::version());
    app.footer(kExamples);
    app.require_subcommand(1);
    const CLI::App *build = add_build(app, line);
    const CLI::App *check = add_check(app, line);
    const CLI::App *report = add_report(app, line);
    const CLI::App *import = add_import(app, line);
    const CLI::App *script = add_script(app, line);
    add_lexicon(app, line);
    refuse_empty_names(app);
    int status = 0;
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        std::ostringstream help;
        status = app.exit(error, help, std::cerr) == 0 ? 0 : 2;
        print(help.str());
        close_output();
        return status;
    }
    if (build->parsed()) {
        run_build(line);
    } else if (check->parsed()) {
        status = run_check(line.check);
    } else if (report->parsed()) {
        status = run_report(line);
    } else if (import->parsed()) {
        run_import(line);
    } else if (script->parsed()) {
        run_script(line);
    } else {
        run_lexicon(line);
    }
    close_output();
    return status;
}

}  // namespace

int main(int argc, char **argv) {
    return run_program(run, argc, argv);
}
