#include "bench/AccuracyBench.h"

#include "bench/Report.h"
#include "bench/SpokenMaterial.h"
#include "bench/WordErrors.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/ChunkedTranscriber.h"
#include "speech/TranscribeTask.h"

#include <algorithm>
#include <array>
#include <thread>

namespace tavrin {

namespace {

/// Percentage points that a cheaper form may lose.
constexpr double allowedLoss = 0.5;

struct Set {
    std::string name;
    std::vector<SpokenClip> clips;
};

int processors() {
    return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

DecodingOptions english(bool shortContext) {
    DecodingOptions options;
    options.language = "en";
    options.shortContext = shortContext;
    return options;
}

/// What one form of the model heard in a clip.
struct Heard {
    std::string text;
    WordErrors errors;
};

/// For each set, each clip.
using Hearing = std::vector<std::vector<Heard>>;

Hearing hear(const SpeechModels& models, const std::vector<Set>& sets, bool shortContext) {
    Hearing hearing;
    for (const auto& set : sets) {
        auto& heard = hearing.emplace_back();
        for (const auto& clip : set.clips) {
            auto text = TranscribeTask(models).run(clip.samples, english(shortContext)).text;
            const auto errors = wordErrors(clip.words, text);
            heard.push_back({std::move(text), errors});
        }
    }
    return hearing;
}

WordErrors sumOf(const std::vector<Heard>& heard) {
    WordErrors sum;
    for (const auto& one : heard)
        sum += one.errors;
    return sum;
}

WordErrors longFormErrors(const SpeechModels& models, const SpokenClip& recording) {
    std::string heard;
    std::size_t position = 0;
    ChunkedTranscriber(models, english(true), static_cast<std::size_t>(processors()))
        .run(
            [&](std::span<float> block) {
                const std::size_t count = std::min(block.size(), recording.samples.size() - position);
                std::copy_n(recording.samples.begin() + static_cast<std::ptrdiff_t>(position), count, block.begin());
                position += count;
                return count;
            },
            [&](const TranscriptionResult& result) {
                heard += " " + result.text;
                return true;
            });
    return wordErrors(recording.words, heard);
}

std::string cell(const WordErrors& errors) {
    return decimal(errors.percent(), 1) + " % (" + std::to_string(errors.errors) + ")";
}

WordErrors sumOf(const Hearing& hearing) {
    WordErrors sum;
    for (const auto& heard : hearing)
        sum += sumOf(heard);
    return sum;
}

/// The clips that two forms hear unequally well, for the reader to judge whether that is chance.
void tellDifferences(const Set& set, const std::vector<Heard>& one, const std::vector<Heard>& other, Report& report) {
    report.heading("Pack: heard with full context, then with short context, where the errors differ; " + set.name);
    for (std::size_t i = 0; i < set.clips.size(); ++i) {
        if (one[i].errors.errors == other[i].errors.errors) continue;
        report.remark(set.clips[i].name + "   " + std::to_string(one[i].errors.errors) + " errors: " + one[i].text);
        report.remark("         " + std::to_string(other[i].errors.errors) + " errors: " + other[i].text);
    }
}

} // namespace

void measureAccuracy(const AccuracyMaterial& material, Report& report) {
    const std::vector<Set> sets{{"recorded", recordedClips(material.speech / "human")},
                                {"clean", numberedClips(material.speech / "clean", material.sentences)},
                                {"pink noise, 15 dB", numberedClips(material.speech / "pink15", material.sentences)}};
    constexpr std::size_t clean = 1;
    report.heading("Word error rates (errors): greedy with fall-back, one window a clip, with time tokens");
    OnnxModelRuntime runtime;
    const auto full = hear(SpeechModels(runtime, material.fullPrecision, processors()), sets, false);
    const SpeechModels pack(runtime, material.pack, processors());
    const auto packed = hear(pack, sets, false), brief = hear(pack, sets, true);
    const SpokenClip recording = joinedClips(sets[clean].clips);
    const WordErrors longForm = longFormErrors(pack, recording);

    Table table({"speech", "clips", "words", "full precision", "pack", "pack, short context"});
    for (std::size_t i = 0; i < sets.size(); ++i) {
        const WordErrors fullSum = sumOf(full[i]), packSum = sumOf(packed[i]), briefSum = sumOf(brief[i]);
        table.add({sets[i].name, std::to_string(sets[i].clips.size()), std::to_string(fullSum.words), cell(fullSum),
                   cell(packSum), cell(briefSum)});
        report.figure(sets[i].name + ", full precision", fullSum.percent(), 2, "%");
        report.figure(sets[i].name + ", pack", packSum.percent(), 2, "%");
        report.figure(sets[i].name + ", pack, short context", briefSum.percent(), 2, "%");
    }
    table.add({"clean in one recording of " + decimal(recording.seconds(), 0) + " s, in chunks", "1",
               std::to_string(longForm.words), "", "", cell(longForm)});
    report.table(table);
    report.figure("long form, pack, short context", longForm.percent(), 2, "%");
    for (std::size_t i = 0; i < sets.size(); ++i)
        tellDifferences(sets[i], packed[i], brief[i], report);
    report.bar("clean: pack above full precision", sumOf(packed[clean]).percent() - sumOf(full[clean]).percent(),
               allowedLoss, 2, "points");
    report.bar("all clips: short context above full context", sumOf(brief).percent() - sumOf(packed).percent(),
               allowedLoss, 2, "points");
}

} // namespace tavrin
