#include "bench/LaneBench.h"

#include "bench/LiveLanes.h"
#include "bench/Report.h"
#include "bench/SpokenMaterial.h"
#include "bench/WordErrors.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/ChunkedTranscriber.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace tavrin {

namespace {

/// What a live lane may lose against the same speech as a file, in percentage points.
constexpr double allowedLoss = 5;

DecodingOptions english() {
    DecodingOptions options;
    options.language = "en";
    options.shortContext = true;
    return options;
}

std::string asFile(const SpeechModels& models, const SpokenClip& clip) {
    std::string heard;
    std::size_t position = 0;
    ChunkedTranscriber(models, english(), 2)
        .run(
            [&](std::span<float> block) {
                const std::size_t count = std::min(block.size(), clip.samples.size() - position);
                std::copy_n(clip.samples.begin() + static_cast<std::ptrdiff_t>(position), count, block.begin());
                position += count;
                return count;
            },
            [&](const TranscriptionResult& result) {
                heard += " " + result.text;
                return true;
            });
    return heard;
}

std::string asLane(const SpeechModels& models, const SpokenClip& clip) {
    LiveLanes lanes(chunkTranscriber(models));
    lanes.play({}, clip.samples);
    std::string heard;
    for (const TranscriptSegment& line : lanes.lines()) {
        heard += " " + line.text;
        if (std::getenv("TAVRIN_BENCH_TEXT") != nullptr) std::cerr << "  | " << line.text << '\n';
    }
    return heard;
}

} // namespace

void measureLane(const LaneMaterial& material, Report& report) {
    OnnxModelRuntime runtime;
    const SpeechModels models(runtime, material.pack, 2);
    report.heading("Word error rates (errors) of a live lane and of the same speech as a file");
    Table table({"speech", "seconds", "words", "file", "live lane"});
    const auto add = [&](const std::string& name, const std::vector<SpokenClip>& clips) {
        const SpokenClip clip = joinedClips(clips);
        const WordErrors file = wordErrors(clip.words, asFile(models, clip));
        const WordErrors lane = wordErrors(clip.words, asLane(models, clip));
        table.add({name, decimal(clip.seconds(), 0), std::to_string(file.words), decimal(file.percent(), 1) + " %",
                   decimal(lane.percent(), 1) + " %"});
        report.bar(name + ": live lane above file", lane.percent() - file.percent(), allowedLoss, 1, "points");
    };
    add("recorded", recordedClips(material.speech / "human"));
    add("clean", numberedClips(material.speech / "clean", material.sentences));
    report.table(table);
}

} // namespace tavrin
