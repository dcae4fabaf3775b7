#include "bench/SpeedBench.h"

#include "bench/InferenceBench.h"
#include "bench/ProcessMemory.h"
#include "bench/Report.h"
#include "bench/SpokenMaterial.h"
#include "bench/StepAllocations.h"
#include "bench/Timing.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/ChunkedTranscriber.h"
#include "speech/SpeechAudio.h"
#include "speech/SpeechPipeline.h"

#include <future>

namespace tavrin {

namespace {

constexpr double clipSeconds = 5, longSeconds = 600, lanesSeconds = 120;
constexpr double memoryBar = 500;

DecodingOptions english() {
    DecodingOptions options;
    options.language = "en";
    return options;
}

/// A meeting in whole windows with word times and dictations of five seconds, at the same time, on one set of weights.
void measureLanes(const SpeedMaterial& material, const RepeatedSpeech& speech, Report& report) {
    report.heading("Memory");
    const auto audio = speech.first(lanesSeconds);
    const auto clip = std::span(audio).first(static_cast<std::size_t>(clipSeconds * speechSampleRate));
    const double before = ProcessMemory::resident();
    OnnxModelRuntime runtime;
    SpeechModelCache cache(runtime);
    const SpeechPipelineConfig config{.model = "base", .modelFolder = material.pack};
    SpeechPipeline meeting(config, cache), dictation(config, cache);
    const double loaded = ProcessMemory::resident();
    std::atomic<bool> isOver = false;
    auto lane = std::async(std::launch::async, [&] {
        int texts = 0;
        for (; !isOver; ++texts)
            (void)dictation.transcribe(clip, english());
        return texts;
    });
    auto options = english();
    options.shortContext = false;
    options.wordTimestamps = true;
    const auto results = meeting.transcribe(audio, options);
    isOver = true;
    const int texts = lane.get();
    report.remark(decimal(before, 0) + " MB at the start, " + decimal(loaded, 0) + " MB with the models, " +
                  decimal(ProcessMemory::peak(), 0) + " MB at most while one lane transcribed " +
                  decimal(lanesSeconds, 0) + " s in whole windows and the other " + std::to_string(texts) +
                  " clips of 5 s");
    report.figure("memory with models loaded", loaded, 0, "MB");
    report.bar("peak memory, two lanes", ProcessMemory::peak(), memoryBar, 0, "MB");
}

void measureLoading(const SpeedMaterial& material, Report& report) {
    OnnxModelRuntime runtime;
    std::vector<double> encoder, decoder, whole;
    for (int i = 0; i < 5; ++i)
        whole.push_back(secondsOf([&] {
            const SpeechModels models(runtime, material.pack, 2);
            encoder.push_back(models.loadTimings.encoderLoadTime);
            decoder.push_back(models.loadTimings.decoderLoadTime);
        }));
    report.heading("Whole transcriptions");
    report.remark("loading the models: " + decimal(median(whole), 3) + " s (encoder " + decimal(median(encoder), 3) +
                  " s, decoder " + decimal(median(decoder), 3) + " s)");
    report.figure("load encoder", 1000 * median(encoder), 0, "ms");
    report.figure("load decoder", 1000 * median(decoder), 0, "ms");
    report.figure("load all", 1000 * median(whole), 0, "ms");
}

void measureClip(const SpeedMaterial& material, const RepeatedSpeech& speech, Report& report) {
    OnnxModelRuntime runtime;
    const auto clip = speech.first(clipSeconds);
    for (const int threads : {1, 2}) {
        const SpeechModels models(runtime, material.pack, threads);
        models.audioEncoder.prepareSilence(models.config.melBands);
        const auto transcribe = [&] { (void)TranscribeTask(models).run(clip, english()); };
        transcribe();
        const double seconds = medianSeconds(15, transcribe);
        const std::string suffix = threads == 1 ? ", 1 thread" : ", 2 threads";
        report.remark("5 s to text" + suffix + ": " + decimal(1000 * seconds, 0) + " ms");
        report.figure("5 s from samples to text" + suffix, 1000 * seconds, 0, "ms");
    }
}

void measureRecording(const SpeedMaterial& material, const RepeatedSpeech& speech, Report& report) {
    OnnxModelRuntime runtime;
    const SpeechModels models(runtime, material.pack, 1);
    const auto length = static_cast<std::size_t>(longSeconds * speechSampleRate);
    for (const std::size_t workers : {std::size_t{1}, std::size_t{2}}) {
        TranscriptionTimings timings;
        std::size_t position = 0;
        const double seconds = secondsOf([&] {
            ChunkedTranscriber(models, english(), workers)
                .run(
                    [&](std::span<float> block) {
                        const std::size_t count = speech.read(position, length, block);
                        position += count;
                        return count;
                    },
                    [&](const TranscriptionResult& result) {
                        timings.add(result.timings);
                        return true;
                    });
        });
        const std::string suffix = workers == 1 ? ", one worker" : ", two workers";
        report.remark("10 min" + suffix + ": " + decimal(seconds, 1) + " s, real-time factor " +
                      decimal(seconds / longSeconds, 4) + " (encoder " + decimal(timings.encoding, 1) + " s, decoder " +
                      decimal(timings.decodingInit + timings.decodingLoop, 1) + " s, " +
                      decimal(timings.totalDecodingWindows, 0) + " windows, " +
                      decimal(timings.totalDecodingFallbacks, 0) + " fall-backs, summed over workers)");
        report.figure("real-time factor, 10 min" + suffix, seconds / longSeconds, 4, "");
    }
}

void measureAllocations(const SpeedMaterial& material, const RepeatedSpeech& speech, Report& report) {
    report.heading("Allocations of our own code per token");
    Table table({"window of 30 s", "steps", "allocations", "steps that grow the cache", "allocations in these"});
    const auto audio = speech.first(30);
    for (const bool words : {false, true}) {
        const auto found = countStepAllocations(material.pack, audio, words);
        const std::uint64_t plain = found.allocations - found.growthAllocations;
        table.add({words ? "with word times" : "without word times", std::to_string(found.steps - found.growths),
                   std::to_string(plain), std::to_string(found.growths), std::to_string(found.growthAllocations)});
        if (found.steps - found.growths < 20) throw std::runtime_error("too few tokens to count allocations");
        report.bar(std::string("allocations per token") + (words ? ", word times" : ""),
                   static_cast<double>(plain) / (found.steps - found.growths), 0, 2, "");
    }
    report.table(table);
}

} // namespace

void measureSpeed(const SpeedMaterial& material, Report& report) {
    const RepeatedSpeech speech(numberedClips(material.speech / "clean", material.sentences));
    measureLanes(material, speech, report);
    const auto window = speech.first(30);
    for (const int threads : {2, 1})
        measureInference(material.pack, material.limits, window, threads, report);
    measureLoading(material, report);
    measureClip(material, speech, report);
    measureRecording(material, speech, report);
    measureAllocations(material, speech, report);
}

} // namespace tavrin
