#include "bench/EchoBench.h"

#include "bench/LiveLanes.h"
#include "bench/Report.h"
#include "bench/SpokenMaterial.h"
#include "bench/WordErrors.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/SpeechAudio.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iostream>

namespace tavrin {

namespace {

constexpr double delay = 0.060;                            // s
constexpr std::array<double, 4> leaks{-100, -20, -12, -6}; // dB; the first is none
constexpr double judgedLeak = -12;                         // dB
constexpr std::array<double, 3> pauses{0.3, 1.2, 0.6};     // s between two turns
constexpr double leastSeconds = 300;

struct Lane {
    std::vector<float> samples;
    std::string words;
};
struct Talk {
    Lane me;
    Lane them;
};

void say(Lane& lane, Lane& other, const SpokenClip& clip, double pause) {
    lane.samples.insert(lane.samples.end(), clip.samples.begin(), clip.samples.end());
    lane.words += " " + clip.words;
    lane.samples.resize(lane.samples.size() + static_cast<std::size_t>(pause * speechSampleRate));
    other.samples.resize(lane.samples.size());
}

/// Two people by turns, with short and long pauses. Nobody says what the other one says.
Talk talkOf(const LaneMaterial& material) {
    const auto sentences = numberedClips(material.speech / "clean", material.sentences);
    const auto recorded = recordedClips(material.speech / "human");
    Talk talk;
    std::size_t turn = 0;
    const auto exchange = [&](const SpokenClip& mine, const SpokenClip& theirs) {
        say(talk.me, talk.them, mine, pauses[turn++ % pauses.size()]);
        say(talk.them, talk.me, theirs, pauses[turn++ % pauses.size()]);
    };
    const std::size_t half = sentences.size() / 2;
    for (std::size_t i = 0; i < half + recorded.size() + half; ++i) {
        const bool isRecorded = i >= half && i < half + recorded.size();
        const std::size_t mine = (i < half ? i : i - recorded.size()) % half;
        exchange(isRecorded ? recorded[i - half] : sentences[2 * mine], sentences[(2 * (i % half)) + 1]);
    }
    return talk;
}

/// What a microphone hears that stands near the other side's loudspeaker.
std::vector<float> microphone(const Talk& talk, double leak) {
    std::vector<float> mixed = talk.me.samples;
    const auto shift = static_cast<std::size_t>(delay * speechSampleRate);
    const auto gain = static_cast<float>(std::pow(10, leak / 20));
    for (std::size_t i = shift; i < mixed.size(); ++i)
        mixed[i] += gain * talk.them.samples[i - shift];
    return mixed;
}

std::string textOf(const std::vector<TranscriptSegment>& lines, std::string_view label) {
    std::string text;
    for (const TranscriptSegment& line : lines)
        if (line.speakerLabel == label) text += " " + line.text;
    return text;
}

std::size_t foreignLines(const std::vector<TranscriptSegment>& lines, const Talk& talk) {
    return static_cast<std::size_t>(std::ranges::count_if(lines, [&](const TranscriptSegment& line) {
        const bool isForeign = isMeLine(line) && isSaidBy(talk.them.words, talk.me.words, line.text);
        if (isForeign && std::getenv("TAVRIN_BENCH_TEXT") != nullptr) std::cerr << "  not Me's: " << line.text << '\n';
        return isForeign;
    }));
}

} // namespace

void measureEcho(const LaneMaterial& material, Report& report) {
    OnnxModelRuntime runtime;
    const SpeechModels models(runtime, material.pack, 2);
    const Talk talk = talkOf(material);
    const double seconds = static_cast<double>(talk.me.samples.size()) / speechSampleRate;
    report.heading("The other side's sound in the microphone, 60 ms late, in a talk of " + decimal(seconds, 0) + " s");
    if (seconds < leastSeconds) report.remark("the material is shorter than five minutes");
    Table table({"leak", "lines of Me", "not Me's", "word errors of Me", "own words lost"});
    std::string withoutLeak;
    for (const double leak : leaks) {
        LiveLanes lanes(chunkTranscriber(models));
        lanes.play(microphone(talk, leak), talk.them.samples);
        const std::string heard = textOf(lanes.lines(), meLabel);
        if (withoutLeak.empty()) withoutLeak = heard;
        const std::size_t all = comparableWords(withoutLeak).size(), lost = lostWords(withoutLeak, heard);
        const std::size_t foreign = foreignLines(lanes.lines(), talk);
        const auto mine = std::ranges::count_if(lanes.lines(), isMeLine);
        table.add({leak > -100 ? decimal(leak, 0) + " dB" : "none", std::to_string(mine), std::to_string(foreign),
                   decimal(wordErrors(talk.me.words, heard).percent(), 1) + " %",
                   std::to_string(lost) + " of " + std::to_string(all)});
        if (leak != judgedLeak) continue;
        report.bar("lines of Me that the other side said, at -12 dB", static_cast<double>(foreign), 0, 0, "");
        report.bar("own words lost, at -12 dB", 100.0 * static_cast<double>(lost) / static_cast<double>(all), 1, 1,
                   "%");
    }
    report.table(table);
}

} // namespace tavrin
