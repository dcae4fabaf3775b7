#include "bench/LaneBench.h"

#include "bench/Report.h"
#include "bench/SpokenMaterial.h"
#include "bench/WordErrors.h"
#include "meeting/WhisperStreamProcessor.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/ChunkedTranscriber.h"
#include "speech/SpeechPipeline.h"
#include "support/async/VirtualTime.h"

#include <algorithm>
#include <cmath>
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

/// The lane on virtual time: the engine answers at once.
std::string asLane(const SpeechModels& models, const SpokenClip& clip) {
    VirtualTime time;
    std::string heard;
    const Transcribe transcribe = [&](std::vector<float> samples, bool withWords) -> Task<ChunkText> {
        ChunkText said;
        DecodingOptions options = english();
        options.wordTimestamps = withWords;
        if (models.hearsSpeech(samples))
            for (const auto& segment : TranscribeTask(models).run(samples, options).segments) {
                said.text += segment.text;
                for (const WordTiming& word : segment.words.value_or(std::vector<WordTiming>()))
                    said.words.push_back({.text = word.word, .start = word.start, .end = word.end});
            }
        co_return said;
    };
    WhisperStreamProcessor lane(
        themLaneSettings(MeetingEngine::dictation),
        {.main = time.main(),
         .lane = time.addExecutor(),
         .clock = time.wallClock(),
         .transcribe = transcribe,
         .note = [](const std::string&) {}},
        {.onTranscriptionStarted = {},
         .onTranscriptionFinished = {},
         .onError = {},
         .onResult = [&](const WhisperStreamProcessor::Heard& result, const SpeechChunk& /*chunk*/) {
             heard += " " + result.text;
             if (std::getenv("TAVRIN_BENCH_TEXT") != nullptr) std::cerr << "  | " << result.text << '\n';
             return true;
         }});
    const auto inlet = lane.inlet();
    std::vector<std::byte> pcm;
    for (const float sample : clip.samples) {
        const auto value = static_cast<std::int16_t>(std::clamp(std::lround(sample * 32'768), -32'768L, 32'767L));
        pcm.push_back(static_cast<std::byte>(value & 0xFF));
        pcm.push_back(static_cast<std::byte>((value >> 8) & 0xFF));
        if (pcm.size() == 3'200) {
            inlet(pcm);
            pcm.clear();
            time.advance(std::chrono::milliseconds(100));
        }
    }
    TaskScope tasks(time.main());
    tasks.spawn([&]() -> Task<void> { co_await lane.flushForFinish(); });
    time.advance(std::chrono::seconds(1));
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
