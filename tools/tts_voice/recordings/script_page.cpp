#include "recordings/script_page.h"

#include <algorithm>
#include <cstdio>
#include <set>

#include "plan/plan.h"

namespace tts_voice {

namespace {

using std::string;

// In the order of script_part.
constexpr struct {
    const char *title, *how;
} kParts[] = {
    {"Syllables",
     "One for each: as inside a sentence, short, a third tone low without rising. It also serves "
     "at the beginning and at the end until those are recorded."},
    {"Greetings", "Whole sentences."},
    {"Doubles", "Two syllables in one breath, as inside a sentence; 5 is the neutral tone."},
    {"Letters", "English names of the letters; abbreviations and unknown short words are spelt."},
    {"English words", "As in a sentence, not drawn out."},
    {"Phrases", "In one breath, as at the end of a sentence."},
    {"First words", "Surnames and other pairs that begin a sentence."},
    {"Rare syllables", "As the syllables above; running text hardly ever needs them."},
    {"Syllables, last in the sentence", "The voice sinks, a third tone falls and rises."},
    {"Syllables, first in the sentence", "Slightly higher than inside."},
};

string percent(double share) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %%", 100 * share);
    return text;
}

// The head of a script: how to record, and how much of running text the first recordings speak.
std::vector<string> summary_of(const std::vector<recording> &recordings, double reached) {
    std::vector<string> lines = {
        "Name each recording as it is named here, with the extension of its format, for example "
        "phones/hao3_2.wav.",
        "Say the syllable, not the whole example; the characters beside it are some that read so. "
        "Any format, rate and level will do: tts-voice import converts them.",
        "One recording serves a syllable everywhere: those for its other places come last."};
    size_t made = 0;
    const std::set<size_t> milestones = {50, 100, 200, 400, 800, recordings.size()};
    for (const recording &r : recordings) {
        if (r.part == script_part::inside) reached += r.share;
        if (milestones.count(++made)) {
            lines.push_back("With the first " + std::to_string(made) + " recordings, " +
                            percent(reached) + " of the characters of running text are spoken.");
        }
    }
    return lines;
}

// Calls `part` where a new part begins, and `line` with the number of each recording, from 1, and
// the part of running text that is spoken from here on.
template <typename Part, typename Line>
void walk(const std::vector<recording> &recordings, double reached, Part part, Line line) {
    for (size_t i = 0; i < recordings.size(); ++i) {
        const recording &r = recordings[i];
        if (i == 0 || recordings[i - 1].part != r.part) part(kParts[static_cast<size_t>(r.part)]);
        if (r.part == script_part::inside) reached += r.share;
        line(i + 1, reached, r);
    }
}

string escaped(const string &text) {
    string html;
    for (const char c : text) {
        switch (c) {
            case '<':
                html += "&lt;";
                break;
            case '&':
                html += "&amp;";
                break;
            default:
                html += c;
        }
    }
    return html;
}

constexpr char kPageHead[] =
    "<!DOCTYPE html>\n<html lang=\"zh\">\n<head>\n<meta charset=\"utf-8\">\n"
    "<title>Recording script</title>\n<style>\n"
    "body { font: 16px/1.4 sans-serif; margin: 2em auto; max-width: 60em; }\n"
    "table { border-collapse: collapse; width: 100%; }\n"
    "td { border-bottom: 1px solid #ccc; padding: .2em .6em; vertical-align: baseline; }\n"
    "td.n, td.c { text-align: right; color: #555; white-space: nowrap; }\n"
    "td.s { font-size: 1.4em; }\n"
    "code { white-space: nowrap; }\n"
    "tr { break-inside: avoid; }\nh2 { break-after: avoid; }\n"
    "</style>\n</head>\n<body>\n<h1>Recording script</h1>\n";

}  // namespace

string script_as_text(const std::vector<recording> &recordings, double reached) {
    string text;
    for (const string &line : summary_of(recordings, reached)) text += "# " + line + "\n";
    walk(
        recordings, reached,
        [&](const auto &part) {
            text.append("\n# ").append(part.title).append(". ").append(part.how).append("\n");
        },
        [&](size_t number, double spoken, const recording &r) {
            char head[64];
            std::snprintf(head, sizeof head, "%5zu %8s  ", number, percent(spoken).c_str());
            string file = r.folder + "/" + r.name;
            file.resize(std::max<size_t>(file.size(), 22), ' ');
            text.append(head).append(file).append(" ");
            text.append(r.say).append(" | ").append(r.example).append("\n");
        });
    return text;
}

string script_as_html(const std::vector<recording> &recordings) {
    string html = kPageHead;
    for (const string &line : summary_of(recordings, 0)) html += "<p>" + escaped(line) + "</p>\n";
    bool open = false;
    walk(
        recordings, 0,
        [&](const auto &part) {
            if (open) html += "</table>\n";
            open = true;
            html.append("<h2>").append(part.title).append("</h2>\n<p>").append(part.how);
            html.append("</p>\n<table>\n");
        },
        [&](size_t number, double reached, const recording &r) {
            html += "<tr><td class=\"n\">" + std::to_string(number) + "<td class=\"c\">" +
                    percent(reached) + "<td><code>" + escaped(r.folder + "/" + r.name) +
                    "</code><td class=\"s\">" + escaped(r.say) + "<td>" + escaped(r.example) + "\n";
        });
    if (open) html += "</table>\n";
    return html + "</body>\n</html>\n";
}

string make_script(const script_options &options) {
    std::vector<recording> recordings =
        recordings_of(texts_of_plan(make_plan(options.data), options.data),
                      options.data / "character_counts.txt");
    if (options.first > 0 && options.first < recordings.size()) recordings.resize(options.first);
    return options.html ? script_as_html(recordings) : script_as_text(recordings, 0);
}

}  // namespace tts_voice
