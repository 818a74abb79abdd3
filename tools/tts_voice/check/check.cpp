#include "check/check.h"

#include <algorithm>

#include "check/checked_tree.h"
#include "common/failure.h"
#include "quiet_log.h"

namespace tts_voice {

namespace {

// Errors first, then by the first place of each code.
void sort_findings(std::vector<finding> &findings) {
    std::map<std::string, size_t> first;
    for (size_t i = 0; i < findings.size(); ++i) first.emplace(findings[i].code, i);
    std::stable_sort(findings.begin(), findings.end(), [&](const finding &a, const finding &b) {
        if (a.level != b.level) return a.level == severity::error;
        return first.at(a.code) < first.at(b.code);
    });
}

}  // namespace

size_t check_result::count(severity level) const {
    return static_cast<size_t>(std::count_if(findings.begin(), findings.end(),
                                             [&](const finding &f) { return f.level == level; }));
}

check_result check_tree(const std::filesystem::path &root) {
    const quiet_log quiet;
    checked_tree tree(root);
    check_phones(tree);
    check_characters(tree);
    check_surnames(tree);
    check_phrases(tree);
    check_english(tree);
    check_greetings(tree);
    check_clips(tree);
    sort_findings(tree.result.findings);
    return std::move(tree.result);
}

void require_no_errors(const std::filesystem::path &root, const std::string &name) {
    constexpr size_t kShown = 10;
    const check_result result = check_tree(root);
    const size_t errors = result.count(severity::error);
    if (errors == 0) return;
    std::string text = name + " has " + std::to_string(errors) + " error(s):";
    for (size_t i = 0; i < errors && i < kShown; ++i) {
        text += "\n  " + text_of(result.findings[i]);
    }
    throw tts_tools::failure(text);
}

std::string text_of(const finding &f) {
    return place_of(f.file, f.line) + ": " + f.what;
}

}  // namespace tts_voice
