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

constexpr double delay = 0.060;                             // s
constexpr std::array<double, 4> leaks{-100, -20, -12, -6};  // dB; the first is none
constexpr std::array<double, 2> judgedLeaks{-100, -12};     // dB
constexpr std::array<double, 3> pauses{0.3, 1.2, 0.6};      // s between two turns
constexpr std::array<double, 4> replies{0, 0.2, -0.2, 0.1}; // s behind the other side's last sound
constexpr double leastSeconds = 300;
constexpr float heardFrom = 0.02F; // amplitude

struct Lane {
    std::vector<float> samples;
    std::string words;
};
struct Talk {
    Lane me;
    Lane them;
};

bool isHeard(float sample) {
    return std::abs(sample) >= heardFrom;
}

/// Up to the last sample that is heard.
std::size_t lengthOfSound(std::span<const float> samples) {
    while (!samples.empty() && !isHeard(samples.back()))
        samples = samples.first(samples.size() - 1);
    return samples.size();
}

void say(Lane& lane, Lane& other, const SpokenClip& clip, double pause) {
    lane.samples.insert(lane.samples.end(), clip.samples.begin(), clip.samples.end());
    lane.words += " " + clip.words;
    lane.samples.resize(lane.samples.size() + static_cast<std::size_t>(pause * speechSampleRate));
    other.samples.resize(lane.samples.size());
}

/// One word each, named WORD-VOICE.wav, without the silence around it.
std::vector<SpokenClip> shortAnswers(const std::filesystem::path& folder) {
    std::vector<SpokenClip> answers;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        const std::string name = file.path().stem();
        answers.push_back({.name = name, .samples = soundOf(file.path()), .words = name.substr(0, name.find('-'))});
        auto& samples = answers.back().samples;
        samples.resize(lengthOfSound(samples));
        samples.erase(samples.begin(), std::ranges::find_if(samples, isHeard));
    }
    std::ranges::sort(answers, {}, &SpokenClip::name);
    return answers;
}

/// The user answers so long after the other side has ended, or before it.
void answer(Talk& talk, const SpokenClip& word, double after) {
    const auto end = static_cast<std::ptrdiff_t>(lengthOfSound(talk.them.samples));
    const auto begin = static_cast<std::size_t>(end + std::lround(after * speechSampleRate));
    auto& mine = talk.me.samples;
    mine.resize(std::max(mine.size(), begin + word.samples.size() + speechSampleRate));
    std::ranges::copy(word.samples, mine.begin() + static_cast<std::ptrdiff_t>(begin));
    talk.me.words += " " + word.words;
    talk.them.samples.resize(mine.size());
}

enum class Answers : std::uint8_t { none, atOnce };

/// Two people by turns, with short and long pauses; the user may answer each turn of the other side with a word at
/// once. Nobody says what the other one says.
Talk talkOf(const LaneMaterial& material, Answers kind) {
    const auto sentences = numberedClips(material.speech / "clean", material.sentences);
    const auto recorded = recordedClips(material.speech / "human");
    const auto answers = shortAnswers(material.speech / "words");
    Talk talk;
    std::size_t turn = 0;
    const auto exchange = [&](const SpokenClip& mine, const SpokenClip& theirs) {
        say(talk.me, talk.them, mine, pauses[turn++ % pauses.size()]);
        say(talk.them, talk.me, theirs, pauses[turn % pauses.size()]);
        if (kind == Answers::atOnce)
            answer(talk, answers[turn / 2 % answers.size()], replies[turn / 2 % replies.size()]);
        ++turn;
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

void measureTalk(const SpeechModels& models, const Talk& talk, const std::string& name, Report& report) {
    const double seconds = static_cast<double>(talk.me.samples.size()) / speechSampleRate;
    report.heading("The other side's sound in the microphone, 60 ms late, in " + name + " of " + decimal(seconds, 0) +
                   " s");
    if (seconds < leastSeconds) report.remark("the material is shorter than five minutes");
    Table table({"leak", "lines of Me", "not Me's", "word errors of Me", "own words lost"});
    LiveLanes alone(chunkTranscriber(models));
    alone.play(talk.me.samples, {});
    const std::string undisturbed = textOf(alone.lines(), meLabel);
    for (const double leak : leaks) {
        LiveLanes lanes(chunkTranscriber(models));
        lanes.play(microphone(talk, leak), talk.them.samples);
        const std::string heard = textOf(lanes.lines(), meLabel);
        const std::size_t all = comparableWords(undisturbed).size(), lost = lostWords(undisturbed, heard);
        const std::size_t foreign = foreignLines(lanes.lines(), talk);
        const auto mine = std::ranges::count_if(lanes.lines(), isMeLine);
        const std::string strength = leak > -100 ? decimal(leak, 0) + " dB" : "no leak";
        table.add({strength, std::to_string(mine), std::to_string(foreign),
                   decimal(wordErrors(talk.me.words, heard).percent(), 1) + " %",
                   std::to_string(lost) + " of " + std::to_string(all)});
        if (std::ranges::find(judgedLeaks, leak) == judgedLeaks.end()) continue;
        const std::string where = ", " + name + ", " + strength;
        if (leak > -100)
            report.bar("lines of Me that the other side said" + where, static_cast<double>(foreign), 0, 0, "");
        report.bar("own words lost" + where, 100.0 * static_cast<double>(lost) / static_cast<double>(all), 1, 1, "%");
    }
    report.table(table);
}

} // namespace

void measureEcho(const LaneMaterial& material, Report& report) {
    OnnxModelRuntime runtime;
    const SpeechModels models(runtime, material.pack, 2);
    measureTalk(models, talkOf(material, Answers::none), "a talk by turns", report);
    measureTalk(models, talkOf(material, Answers::atOnce), "a talk with answers at once", report);
}

} // namespace tavrin
