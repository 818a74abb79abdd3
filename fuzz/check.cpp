// tts-voice's check of any tree, and a report and a recording script made from it. A tree in which
// the check finds no error must be one that the engine can speak.
#include <iniparser.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>

#include "check/check.h"
#include "check/findings.h"
#include "common/files.h"
#include "made_tree.h"
#include "recordings/import_clip.h"
#include "recordings/script.h"
#include "recordings/script_page.h"
#include "report/report.h"

using namespace tts_tools;
using namespace tts_voice;

namespace {

int quiet(const char * /*format*/, ...) {
    return 0;
}

size_t count(const std::string &text, const std::string &part) {
    size_t found = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++found;
    return found;
}

void check_place(const finding &f, const made_tree &made) {
    const auto text = made.texts.find(f.file);
    if (text != made.texts.end()) {
        CHECK(f.line >= 0);
        // In a link there are other lines. The clips of the last word of an odd number of lines are
        // missing in the line after it.
        CHECK(!made.is_whole() ||
              static_cast<size_t>(f.line) <= pieces_of(text->second, '\n').size() + 1);
        return;
    }
    const std::string directory = f.file.substr(0, f.file.find('/'));
    CHECK(f.line == 0);
    CHECK(directory == "pinyinRaw" || directory == "engRaw" || directory == "greetingRaw");
}

void check_findings(const check_result &result, const made_tree &made) {
    std::set<std::string> codes;
    for (size_t i = 0; i < result.findings.size(); ++i) {
        const finding &f = result.findings[i];
        CHECK(!f.code.empty() && !f.what.empty() && !f.effect.empty() && !f.fix.empty());
        check_place(f, made);
        const bool first = i == 0 || result.findings[i - 1].code != f.code;
        CHECK(!first || codes.insert(f.code).second);  // side by side
        CHECK(i == 0 || result.findings[i - 1].level >= f.level);
    }
}

void check_measures(const check_result &result) {
    CHECK(result.measured.size() <= result.clips);
    for (const measured_clip &clip : result.measured) {
        const clip_measure &m = clip.measure;
        CHECK(m.duration_ms > 0 && m.duration_ms >= m.lead_silence_ms && m.lead_silence_ms >= 0);
        CHECK(m.duration_ms >= m.tail_silence_ms && m.tail_silence_ms >= 0);
        CHECK(m.level_dbfs >= -120 && m.level_dbfs <= 0.1 && std::isfinite(m.brightness_hz));
        CHECK(m.peak >= 0 && m.peak <= 1 && std::fabs(m.dc) <= 1 && m.edge_step <= 1);
        CHECK(m.pitch_hz == 0 || (m.pitch_hz > 60 && m.pitch_hz < 450));
        const clip_form form = form_of(clip.file);
        CHECK(form.tone >= 0 && form.tone <= 5 && form.least_ms < form.most_ms);
    }
}

void check_reports(const std::string &root, const check_result &result) {
    const std::string text = report_text(root, result);
    const auto json = nlohmann::json::parse(report_json(root, result));
    CHECK(json["findings"].size() == result.findings.size());
    CHECK(json["errors"].get<size_t>() + json["warnings"].get<size_t>() == result.findings.size());
    CHECK(text.back() == '\n' && count(text, "error(s), ") >= 1);
}

void check_script(const std::string &root, const std::string &counts) {
    const std::vector<recording> all = recordings_of(texts_of_tree(root), counts);
    double spoken = 0;
    std::set<std::string> clips;
    for (size_t i = 0; i < all.size(); ++i) {
        const recording &r = all[i];
        CHECK(!r.name.empty() && !r.say.empty() && !r.example.empty());
        CHECK(clips.insert(r.clip).second && r.clip.back() != '/');
        CHECK(r.share >= 0 && r.share <= 1 && (i == 0 || all[i - 1].part <= r.part));
        if (r.part == script_part::inside) spoken += r.share;
    }
    CHECK(spoken <= 1 + 1e-9);
    const std::string text = script_as_text(all, 0), html = script_as_html(all);
    CHECK(count(text, " | ") >= all.size());
    CHECK(count(html, "<tr>") == all.size() && count(html, "<script") == 0);
}

void check_page(const report_options &options, const check_result &result) {
    const std::string data = page_data(options, result);
    CHECK(data.find('<') == std::string::npos);
    const auto page = nlohmann::json::parse(data);
    CHECK(page["clips"].size() == result.measured.size());
    const auto &text = page["text"];
    if (text.contains("lost")) return;
    const double share = text["share"].get<double>();
    CHECK(share >= 0 && share <= 1 + 1e-9);
}

// Without an error every character and every word of the lexicons has its sound.
void check_speech(const std::string &root, const made_tree &made) {
    const request_limits limits = made.limits();
    const leak_permission permission(limits.may_leak);
    const std::unique_ptr<tts_engine_t, engine_owner> engine(
        static_cast<tts_engine_t *>(tts_init_root(root)));
    std::string all;
    const auto say = [&](const std::string &text) {
        speech_report report;
        CHECK(!speak(*engine, text, nullptr, limits.capacity, limits, &report).threw);
        CHECK(report.dropped.empty());
    };
    for (const dict_map *lexicon : {&engine->dict_pinyin, &engine->dict_english}) {
        for (const auto &[key, value] : *lexicon) {
            say(key);
            all += key + (lexicon == &engine->dict_english ? "," : "");
        }
    }
    say(all);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const resource_tree tree;
    input bytes(data, size);
    const made_tree made(tree, bytes);
    const std::string counts = bytes.rest();
    // A list begins with a comment, anything else is a request of the target `tree`.
    tree.file("character_counts.txt",
              counts.rfind("# ", 0) == 0 ? counts : "你 50\n好 30\n的 20\n妈 1\n");
    const check_result result = check_tree(tree.root);
    check_findings(result, made);
    check_measures(result);
    check_reports(tree.root, result);
    if (size % 4 == 0)  // the check is what takes time here
        CHECK(report_json(tree.root, result) == report_json(tree.root, check_tree(tree.root)));
    iniparser_set_error_callback(quiet);  // the check sets its own
    if (result.count(severity::error) == 0) check_speech(tree.root, made);
    report_options options;
    options.root = options.data = tree.root;
    try {
        check_page(options, result);
        check_script(tree.root, tree.root + "character_counts.txt");
    } catch (const failure &) {  // a list that is missing, or counts that are none
    }
    return 0;
}
