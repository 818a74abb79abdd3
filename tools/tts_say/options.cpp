#include "options.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <sstream>

#include "common/messages.h"
#include "engine_start.h"

using namespace tts_tools;

namespace {

constexpr int kUsage = 2;

constexpr const char *kExamples =
    R"(One utterance per line; blank lines are skipped. Several lines give one file each: say.wav becomes
say-1.wav, say-2.wav and so on. Standard output, devices and pipes take all lines as one WAV.
Without -o the sound goes to say.wav (with --raw: say.raw) in the current directory, and with
--explain alone nowhere. Text that begins with "-" goes after "--".

Examples:
  tts-say 今天天气很好                     writes say.wav
  tts-say -f lines.txt -o out/line.wav     writes out/line-1.wav, out/line-2.wav, ...
  echo 你好 | tts-say - -o - | aplay       speaks at once
  tts-say --greeting 0,1 --position end --language en 室外零下五度
  tts-say --explain 单先生您好             shows which rule spoke what

Exit status: 0 done, 1 failed, 2 wrong usage.)";

[[noreturn]] void leave(int status, const std::string &text) {
    print(text);
    close_output();
    throw nothing_to_say{status};
}

std::string check_named(const std::string &name) {
    return name.empty() ? "the name is empty" : "";
}

// Values of --position and --language.
struct greeting_words {
    std::string position = "ahead";
    std::string language = "zh";
};

void add_greeting_options(CLI::App &app, options &o, greeting_words &words) {
    auto *greeting =
        app.add_option("--greeting", o.greeting, "greetings to play: 0 or 0,1 and so on")
            ->type_name("ID")
            ->delimiter(',')
            ->allow_extra_args(false);
    app.add_option("--position", words.position,
                   "where the greetings are played: ahead (default) or end")
        ->type_name("WHERE")
        ->check(CLI::IsMember({"ahead", "end"}).description(""))
        ->needs(greeting);
    app.add_option("--language", words.language, "language of the greetings: zh (default) or en")
        ->type_name("LANG")
        ->check(CLI::IsMember({"zh", "en"}).description(""))
        ->needs(greeting);
}

void add_options(CLI::App &app, options &o, greeting_words &words, bool &version) {
    const CLI::Validator named(check_named, "");
    auto *text = app.add_option("TEXT", o.text, "what to say; - reads standard input");
    text->type_name("");
    app.add_option("-f,--file", o.file, "read the text from FILE; - is standard input")
        ->type_name("FILE")
        ->check(named)
        ->excludes(text);
    app.add_option("-o,--output", o.output, "write to FILE; - is standard output")
        ->type_name("FILE")
        ->check(named);
    app.add_flag("--raw", o.raw, "bare samples (16 bit, mono, 16000 Hz) instead of WAV");
    app.add_option("--root", o.root, "the voice tree")
        ->type_name("DIR")
        ->check(named)
        ->capture_default_str();
    add_greeting_options(app, o, words);
    app.add_flag("--explain", o.explain, "show the segments, their rules, clips and lengths");
    app.add_flag("--verbose", o.verbose, "let the engine's log through to standard error");
    app.add_flag("--version", version, "show the versions of library and root");
}

}  // namespace

options read_options(int argc, char **argv) {
    options o;
    o.root = kFixedRoot;
    greeting_words words;
    bool version = false;
    CLI::App app("Speaks lines of mixed Chinese and English text into WAV files.", "tts-say");
    app.footer(kExamples);
    add_options(app, o, words, version);
    try {
        app.parse(argc, argv);
        if (!version && o.text.empty() && o.file.empty()) {
            throw CLI::RequiredError("TEXT, -f FILE or -");
        }
    } catch (const CLI::ParseError &e) {
        std::ostringstream help;
        const int status = app.exit(e, help, std::cerr) == 0 ? 0 : kUsage;
        leave(status, help.str());
    }
    if (version) {
        leave(0, std::string("tts-say, tts-engine ") + tts_version() + ", root " + o.root + "\n");
    }
    if (o.text == std::vector<std::string>{"-"}) {
        o.text.clear();
        o.file = "-";
    }
    o.announce = o.output.empty() && !o.explain;
    if (o.announce) o.output = o.raw ? "say.raw" : "say.wav";
    o.language = words.language == "en" ? 1 : 0;
    if (!o.greeting.empty()) {
        o.position = words.position == "end" ? GREETING_END : GREETING_AHEAD;
    }
    return o;
}
