#include "bench/EchoBench.h"

#include "bench/LiveLanes.h"
#include "bench/Report.h"
#include "bench/SpokenMaterial.h"
#include "bench/WordErrors.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/SpeechAudio.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

namespace tavrin {

namespace {

constexpr double delay = 0.060;                             // s
constexpr std::array<double, 4> leaks{-100, -20, -12, -6};  // dB; the first is none
constexpr std::array<double, 2> judgedLeaks{-100, -12};     // dB
constexpr std::array<double, 3> pauses{0.3, 1.2, 0.6};      // s between two turns
constexpr std::array<double, 4> replies{0, 0.2, -0.2, 0.1}; // s behind the other side's last sound
constexpr double leastSeconds = 300;
constexpr double longestLine = 9;  // s
constexpr float heardFrom = 0.02F; // amplitude

struct Utterance {
    double from, to; ///< seconds
    std::string words;
};
struct Lane {
    std::vector<float> samples;
    std::vector<Utterance> said;

    [[nodiscard]] std::string words(double from, double to) const {
        std::string text;
        for (const Utterance& each : said)
            if (each.from < to && each.to > from) text.append(" ").append(each.words);
        return text;
    }
    [[nodiscard]] std::string words() const { return words(0, seconds()); }
    [[nodiscard]] double seconds() const { return static_cast<double>(samples.size()) / speechSampleRate; }
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
    const double begin = lane.seconds();
    lane.samples.insert(lane.samples.end(), clip.samples.begin(), clip.samples.end());
    lane.said.push_back({.from = begin, .to = lane.seconds(), .words = clip.words});
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
    const double from = static_cast<double>(begin) / speechSampleRate;
    talk.me.said.push_back({.from = from,
                            .to = from + (static_cast<double>(word.samples.size()) / speechSampleRate),
                            .words = word.words});
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
    if (half == 0) throw std::runtime_error("there are no sentences to say");
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
        if (line.speakerLabel == label) text.append(" ").append(line.text);
    return text;
}

/// Lines of Me that are closer to what the other side said at about their time than to what the user did.
std::size_t foreignLines(const LiveLanes& lanes, const Talk& talk) {
    return static_cast<std::size_t>(std::ranges::count_if(lanes.lines(), [&](const TranscriptSegment& line) {
        const double to = line.date.secondsSince(lanes.begin()), from = to - longestLine;
        const bool isForeign =
            isMeLine(line) && isSaidBy(talk.them.words(from, to), talk.me.words(from, to), line.text);
        if (isForeign && std::getenv("TAVRIN_BENCH_TEXT") != nullptr) std::cerr << "  not Me's: " << line.text << '\n';
        return isForeign;
    }));
}

/// Both texts, for a reader who looks for what differs.
void showTexts(const std::string& undisturbed, const std::string& heard, const std::string& strength) {
    if (std::getenv("TAVRIN_BENCH_TEXT") == nullptr) return;
    std::cerr << "  undisturbed: " << undisturbed << "\n  " << strength << ": " << heard << '\n';
}

struct Heard {
    std::string mine;
    std::size_t lines = 0, foreign = 0;
};
Heard hear(const SpeechModels& models, const Talk& talk, const std::vector<float>& microphone) {
    LiveLanes lanes(chunkTranscriber(models));
    lanes.play(microphone, talk.them.samples);
    return {.mine = textOf(lanes.lines(), meLabel),
            .lines = static_cast<std::size_t>(std::ranges::count_if(lanes.lines(), isMeLine)),
            .foreign = foreignLines(lanes, talk)};
}

/// Where the sound lies in its chunks changes some words by itself: the same sound a little later tells how many.
std::vector<float> later(const Talk& talk) {
    std::vector<float> samples(static_cast<std::size_t>(delay * speechSampleRate));
    samples.insert(samples.end(), talk.me.samples.begin(), talk.me.samples.end());
    return samples;
}

void measureTalk(const SpeechModels& models, const Talk& talk, const std::string& name, Report& report) {
    const double seconds = talk.me.seconds();
    report.heading("The other side's sound in the microphone, 60 ms late, in " + name + " of " + decimal(seconds, 0) +
                   " s");
    if (seconds < leastSeconds) report.remark("the material is shorter than five minutes");
    Table table({"leak", "lines of Me", "not Me's", "word errors of Me", "own words lost"});
    const Talk alone{.me = talk.me, .them = {}};
    const std::string undisturbed = hear(models, alone, talk.me.samples).mine;
    const auto all = static_cast<double>(comparableWords(undisturbed).size());
    const auto tell = [&](const std::string& what, const Heard& heard) {
        showTexts(undisturbed, heard.mine, what);
        const std::size_t lost = lostWords(undisturbed, heard.mine);
        table.add({what, std::to_string(heard.lines), std::to_string(heard.foreign),
                   decimal(wordErrors(talk.me.words(), heard.mine).percent(), 1) + " %",
                   std::to_string(lost) + " of " + decimal(all, 0)});
        return 100 * static_cast<double>(lost) / all;
    };
    const double byItself = tell("alone, 60 ms later", hear(models, alone, later(talk)));
    double misheard = 0; // lines of Me that happen to be closer to the other side's words
    for (const double leak : leaks) {
        const std::string strength = leak > -100 ? decimal(leak, 0) + " dB" : "no leak";
        const Heard heard = hear(models, talk, microphone(talk, leak));
        const double lost = tell(strength, heard);
        if (std::ranges::find(judgedLeaks, leak) == judgedLeaks.end()) continue;
        const std::string where = fmt::format(", {}, {}", name, strength);
        const auto foreign = static_cast<double>(heard.foreign);
        if (leak <= -100)
            misheard = foreign;
        else
            report.bar("lines not Me's, more than without a leak" + where, foreign - misheard, 0, 0, "");
        report.bar("own words lost, more than alone" + where, std::max(0.0, lost - byItself), 1, 1, "%");
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
