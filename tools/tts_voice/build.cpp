#include "build.h"

#include <chrono>
#include <cstdio>

#include "check/check.h"
#include "common/files.h"
#include "common/messages.h"
#include "common/voice_names.h"
#include "plan/plan.h"
#include "progress.h"
#include "sound/samples.h"
#include "staged_tree.h"
#include "synthesis/clip_maker.h"
#include "synthesis/tone_test.h"

namespace fs = std::filesystem;

namespace tts_voice {

using namespace tts_tools;

namespace {

void write_texts(const voice_plan &plan, const fs::path &root) {
    for (const char *directory : kClipDirectories) make_directory(root / directory);
    for (const auto &[file, text] : plan.texts) write_file(root / file, text);
}

// Speaks and writes all clips; returns their bytes. Adds every clip to the test of the tones.
size_t write_clips(const voice_plan &plan, const staged_tree &tree, const build_options &options,
                   tone_test &tones) {
    size_t bytes = 0;
    clip_maker maker(options.speaker);
    progress_bar bar(plan.clips.size(), options.show_progress);
    for (const clip_job &job : plan.clips) {
        const samples clip = maker.make(job);
        tones.add(job, clip);
        const std::string pcm = to_pcm16(clip);
        tree.write_clip(job.file, pcm);
        bytes += pcm.size();
        bar.step();
    }
    return bytes;
}

std::string origin(timbre voice) {
    return "Made by tts-voice build " TTS_VOICE_VERSION " with espeak-ng " + speaker::version() +
           (voice == timbre::female ? ", female" : "") +
           ".\nSee LICENSES.md beside this file before you pass the voice on.\n";
}

}  // namespace

void build_voice(const build_options &options) {
    const auto began = std::chrono::steady_clock::now();
    staged_tree tree(options.target);
    const voice_plan plan = make_plan(options.data);
    write_texts(plan, tree.root());
    write_file(tree.root() / "LICENSES.md", read_file(options.data / "LICENSES.md"));
    for (const silence &s : plan.silences) tree.write_clip(s.file, silent_pcm16(s.length_ms));
    tone_test tones(options.speaker);
    const size_t bytes = write_clips(plan, tree, options, tones);
    tones.judge();
    require_no_errors(tree.root(), "the finished voice");
    tree.seal(origin(options.speaker));
    tree.publish();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    char figures[100];
    std::snprintf(figures, sizeof figures,
                  ": %zu clips, %.1f MB, tone contours %.1f %%, made in %.1f s\n",
                  plan.clips.size() + plan.silences.size(), static_cast<double>(bytes) / 1e6,
                  tones.percent_passed(), took.count());
    print((options.show_figures ? tones.figures() + "\n" : "") +
          printable(options.target.string()) + figures);
}

}  // namespace tts_voice
