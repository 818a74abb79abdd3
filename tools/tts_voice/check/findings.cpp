#include "check/findings.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "common/failure.h"
#include "common/messages.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

constexpr size_t kShown = 10;  // findings of one code

const char *name_of(severity level) {
    return level == severity::error ? "error" : "warning";
}

std::string summary(const std::filesystem::path &root, const check_result &r) {
    char text[300];
    const auto megabytes = [](size_t bytes) { return static_cast<double>(bytes) / 1e6; };
    std::snprintf(
        text, sizeof text,
        ": %zu error(s), %zu warning(s); %zu clips, %.1f MB; the engine will hold about %.1f MB "
        "in memory (lexicons %.1f, greetings %.1f)\n",
        r.count(severity::error), r.count(severity::warning), r.clips, megabytes(r.clip_bytes),
        megabytes(r.lexicon_bytes + r.greeting_bytes), megabytes(r.lexicon_bytes),
        megabytes(r.greeting_bytes));
    return printable(root.string()) + text;
}

}  // namespace

std::string report_text(const std::filesystem::path &root, const check_result &result) {
    const std::vector<finding> &all = result.findings;
    std::string text;
    for (size_t start = 0, end = 0; start < all.size(); start = end) {
        while (end < all.size() && all[end].code == all[start].code) ++end;
        const finding &first = all[start];
        text += std::string(name_of(first.level)) + " " + first.code + "\n";
        for (size_t i = start; i < end && i < start + kShown; ++i) {
            text += "  " + printable(text_of(all[i])) + "\n";
        }
        if (end - start > kShown) {
            text += "  and " + std::to_string(end - start - kShown) + " more\n";
        }
        text += "  effect: " + first.effect + "\n  fix: " + first.fix + "\n\n";
    }
    return text + summary(root, result);
}

std::string report_json(const std::filesystem::path &root, const check_result &result) {
    using json = nlohmann::ordered_json;
    json findings = json::array();
    for (const finding &f : result.findings) {
        findings.push_back({{"level", name_of(f.level)},
                            {"code", f.code},
                            {"file", f.file},
                            {"line", f.line},
                            {"what", f.what},
                            {"effect", f.effect},
                            {"fix", f.fix}});
    }
    const json report = {{"root", root.string()},
                         {"errors", result.count(severity::error)},
                         {"warnings", result.count(severity::warning)},
                         {"clips", result.clips},
                         {"clip_bytes", result.clip_bytes},
                         {"lexicon_bytes", result.lexicon_bytes},
                         {"greeting_bytes", result.greeting_bytes},
                         {"findings", findings}};
    // File names may not be UTF-8, which JSON must be.
    return report.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

int run_check(const check_options &options) {
    check_result result;
    try {
        result = check_tree(options.root);
    } catch (const failure &why) {
        warn(why.what());
        return 2;
    }
    const std::string text =
        options.json ? report_json(options.root, result) : report_text(options.root, result);
    print(text);
    return result.count(severity::error) > 0 ? 1 : 0;
}

}  // namespace tts_voice
