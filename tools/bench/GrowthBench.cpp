#include "bench/GrowthBench.h"

#include "bench/LineFit.h"
#include "bench/ProcessMemory.h"
#include "bench/Report.h"
#include "bench/SpokenMaterial.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/ChunkedTranscriber.h"
#include "speech/SpeechAudio.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <utility>

namespace tavrin {

namespace {

constexpr std::array<double, 11> lengths{1, 2, 5, 10, 30, 60, 120, 300, 600, 1800, 3600};
constexpr double firstOnLine = 30, firstInBar = 60;
constexpr double longestRepeated = 120;
// By ten minutes every kind of window has been met once.
constexpr double shortForMemory = 600, longForMemory = 3600;
constexpr double allowedDeviation = 25;
constexpr double allowedGrowth = 60;
constexpr double threeHours = 3 * 3600;

struct Run {
    double audioSeconds = 0, seconds = 0;
    std::size_t words = 0;
    double resident = 0, peak = 0;
};

std::string lengthText(double seconds) {
    return seconds < 60 ? decimal(seconds, 0) + " s" : decimal(seconds / 60, 0) + " min";
}

/// Clips that make exactly half a minute: so each length from there on is of the same speech and ends in a pause. A cut
/// within a word costs the decoder up to five more tries, which says nothing about length.
std::vector<SpokenClip> halfMinute(std::vector<SpokenClip> clips) {
    constexpr std::size_t length = 30 * speechSampleRate;
    while (clips.size() > 1 && joinedClips(clips).samples.size() > length)
        clips.pop_back();
    const std::size_t filled = joinedClips(clips).samples.size();
    if (clips.empty() || filled > length) throw std::runtime_error("there is no clip of less than half a minute");
    clips.back().samples.resize(clips.back().samples.size() + length - filled);
    return clips;
}

/// Streams so much of the speech. `watch` gets the seconds read so far with each chunk of text.
Run transcribe(const SpeechModels& models, const RepeatedSpeech& speech, double audioSeconds,
               const std::function<void(double)>& watch = {}) {
    DecodingOptions options;
    options.language = "en";
    const auto length = static_cast<std::size_t>(audioSeconds * speechSampleRate);
    std::size_t position = 0;
    Run run{.audioSeconds = audioSeconds};
    ProcessMemory::forgetPeak();
    {
        const StageTimer timer(run.seconds);
        ChunkedTranscriber(models, options, 1)
            .run(
                [&](std::span<float> block) {
                    const std::size_t count = speech.read(position, length, block);
                    position += count;
                    return count;
                },
                [&](const TranscriptionResult& result) {
                    run.words += static_cast<std::size_t>(std::ranges::count(result.text, ' '));
                    if (watch) watch(static_cast<double>(position) / speechSampleRate);
                    return true;
                });
    }
    run.resident = ProcessMemory::resident();
    run.peak = ProcessMemory::peak();
    return run;
}

/// The run of middle time of three; long ones are steady enough alone.
Run middleRun(const SpeechModels& models, const RepeatedSpeech& speech, double audioSeconds) {
    if (audioSeconds > longestRepeated) return transcribe(models, speech, audioSeconds);
    std::array<Run, 3> runs;
    for (auto& run : runs)
        run = transcribe(models, speech, audioSeconds);
    std::ranges::sort(runs, {}, &Run::seconds);
    return runs[1];
}

void tell(const std::vector<Run>& runs, const Line& line, Report& report) {
    Table table({"audio", "words", "time", "real-time factor", "from the line", "resident", "peak"});
    for (const auto& run : runs) {
        const bool isOnLine = run.audioSeconds >= firstOnLine;
        table.add({lengthText(run.audioSeconds), std::to_string(run.words), decimal(run.seconds, 3) + " s",
                   decimal(run.seconds / run.audioSeconds, 4),
                   isOnLine ? decimal(100 * line.deviation({run.audioSeconds, run.seconds}), 1) + " %" : "",
                   decimal(run.resident, 0) + " MB", decimal(run.peak, 0) + " MB"});
        report.figure("time of " + lengthText(run.audioSeconds), run.seconds, 3, "s");
    }
    report.table(table);
    report.remark("line from 30 s on: " + decimal(line.offset, 3) + " s + " + decimal(1000 * line.slope, 2) +
                  " ms per second of audio");
}

void judge(const std::vector<Run>& runs, const Line& line, Report& report) {
    double largestOfAll = 0, largest = 0, shortPeak = 0, longPeak = 0;
    for (const auto& run : runs) {
        if (run.audioSeconds >= firstOnLine) {
            const double deviation = 100 * std::abs(line.deviation({run.audioSeconds, run.seconds}));
            largestOfAll = std::max(largestOfAll, deviation);
            if (run.audioSeconds >= firstInBar) largest = std::max(largest, deviation);
        }
        if (run.audioSeconds == shortForMemory) shortPeak = run.peak;
        if (run.audioSeconds == longForMemory) longPeak = run.peak;
    }
    report.figure("line's slope", 1000 * line.slope, 2, "ms per second");
    report.figure("line's offset", line.offset, 3, "s");
    report.figure("largest deviation from 30 s on", largestOfAll, 1, "%");
    report.figure("peak memory of 10 min", shortPeak, 0, "MB");
    report.figure("peak memory of 60 min", longPeak, 0, "MB");
    report.bar("deviation from the line, from 1 min on", largest, allowedDeviation, 1, "%");
    report.bar("peak memory, 60 min above 10 min", longPeak - shortPeak, allowedGrowth, 0, "MB");
}

void measureThreeHours(const SpeechModels& models, const RepeatedSpeech& speech, Report& report) {
    report.heading("Memory over three hours");
    double next = 0;
    const Run run = transcribe(models, speech, threeHours, [&](double seconds) {
        if (seconds < next) return;
        report.remark("after " + lengthText(seconds) + ": " + decimal(ProcessMemory::resident(), 0) + " MB resident");
        next += 900;
    });
    report.figure("peak memory of 3 hours", run.peak, 0, "MB");
    report.figure("time of 3 hours", run.seconds, 0, "s");
}

} // namespace

void measureGrowth(const GrowthMaterial& material, Report& report) {
    const RepeatedSpeech speech(halfMinute(numberedClips(material.speech / "clean", material.sentences)));
    OnnxModelRuntime runtime;
    const SpeechModels models(runtime, material.pack, 1);
    report.heading("Time and memory against the length of the audio, streamed, one worker on one processor");
    // The first window loads what is loaded late.
    (void)transcribe(models, speech, 5);
    std::vector<Run> runs;
    std::vector<Point> points;
    for (const double length : lengths) {
        runs.push_back(middleRun(models, speech, length));
        if (length >= firstOnLine) points.push_back({length, runs.back().seconds});
    }
    const Line line = fitLine(points);
    tell(runs, line, report);
    judge(runs, line, report);
    if (material.isLong) measureThreeHours(models, speech, report);
}

} // namespace tavrin
