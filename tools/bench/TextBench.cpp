#include "bench/TextBench.h"

#include "bench/Report.h"
#include "bench/Timing.h"
#include "dictation/text/DictationTextCleanup.h"
#include "dictation/text/EchoGuard.h"
#include "dictation/text/RepeatedTail.h"
#include "dictation/text/SpokenFormatting.h"
#include "dictation/text/VocabularyCorrector.h"
#include "support/text/Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace tavrin {

namespace {

constexpr int repetitions = 5;
constexpr double millisecond = 0.001;

using Words = std::vector<std::string>;

/// Words as speech has them: few of them make up most of a text. The same ones on every run.
class Talk {
public:
    Words words(std::size_t count) {
        Words result;
        while (result.size() < count) {
            const double share = static_cast<double>(random()) / static_cast<double>(std::mt19937::max());
            result.push_back(word(static_cast<std::size_t>(3000 * share * share * share * share)));
        }
        return result;
    }
    /// Every one of so many words is as likely.
    Words wordsOf(std::size_t vocabulary, std::size_t count) {
        Words result(count);
        std::ranges::generate(result, [&] { return word(random() % vocabulary); });
        return result;
    }
    std::string text(std::size_t count) { return joined(words(count)); }

    /// Half distinct words, then stretches of ten of them in any order: each is found and taken out on its own.
    std::string shuffledStretches(std::size_t count) {
        constexpr std::size_t stretch = 10;
        Words result;
        for (std::size_t i = 0; i < count / 2; ++i)
            result.push_back(word(i));
        std::vector<std::size_t> begins;
        for (std::size_t begin = 0; begin + stretch <= count / 2; begin += stretch)
            begins.push_back(begin);
        std::ranges::shuffle(begins, random);
        for (const std::size_t begin : begins)
            for (std::size_t i = 0; i < stretch; ++i)
                result.push_back(word(begin + i));
        return joined(result);
    }

    static std::string word(std::size_t number) {
        static constexpr const char* syllables[] = {"ba", "ke", "li", "mo", "nu", "ra", "se", "ti", "vo", "zu"};
        std::string result = syllables[number % 10];
        for (number /= 10; number > 0; number /= 10)
            result += syllables[number % 10];
        return result;
    }

private:
    std::mt19937 random{7};
};

/// Three words, no stretch of which is ever said twice in a row: nothing is short, everything is alike.
std::string squareFree(std::size_t count) {
    std::string letters = "a";
    while (letters.size() < count) {
        std::string longer;
        for (const char letter : letters)
            longer += letter == 'a' ? "abc" : letter == 'b' ? "ac" : "b";
        letters = longer;
    }
    Words result;
    for (std::size_t i = 0; i < count; ++i)
        result.push_back(letters[i] == 'a' ? "alpha" : letters[i] == 'b' ? "bravo" : "charlie");
    return joined(result);
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

double cleaningTime(const std::string& text) {
    return medianSeconds(repetitions, [&] { (void)cleanDictation(text, true); });
}

void measureBars(Report& report) {
    report.heading("Clean-up of text");
    Talk talk;
    const std::string speech = talk.text(750), said = talk.text(375);
    report.bar("dictation of 750 words", cleaningTime(speech) / millisecond, 20, 2, "ms");
    report.bar("dictation of 375 words, said twice", cleaningTime(said + " " + said) / millisecond, 20, 2, "ms");
    report.bar("2,000 words, stretches shuffled", cleaningTime(talk.shuffledStretches(2000)) / millisecond, 1000, 1,
               "ms");
    for (const std::size_t count : {5, 15, 40}) {
        const std::string line = talk.text(count);
        constexpr int lines = 200;
        const double time = medianSeconds(repetitions, [&] {
            for (int i = 0; i < lines; ++i)
                (void)cleanMeetingSegment(line);
        });
        report.bar("meeting's line of " + std::to_string(count) + " words", time / lines / millisecond, 1, 3, "ms");
    }
    const std::string reference = talk.text(300), heard = talk.text(30) + " " + reference.substr(200, 200);
    const double echo = medianSeconds(repetitions, [&] {
        (void)isLikelyEcho(heard, reference);
        (void)stripEchoedWords(heard, reference);
    });
    report.figure("echo, some 60 words against 300", echo / millisecond, 2, "ms");
    const double layout = medianSeconds(repetitions, [&] { (void)applySpokenFormatting(speech); });
    report.figure("layout of 750 words", layout / millisecond, 2, "ms");
}

void measureVocabulary(Report& report) {
    Talk talk;
    std::vector<VocabularyCorrection> rules;
    rules.reserve(200);
    for (std::size_t i = 0; i < 200; ++i)
        rules.push_back({.variants = {Talk::word(7 * i)}, .correct = "Right" + std::to_string(i)});
    const VocabularyCorrector corrector(rules);
    const std::string speech = talk.text(5000);
    const double time = medianSeconds(repetitions, [&] { (void)corrector.corrected(speech); });
    report.bar("200 rules of a vocabulary over 5,000 words", time / millisecond, 50, 1, "ms");
}

void measureHostile(Report& report) {
    Talk talk;
    Words distinct;
    for (std::size_t i = 0; i < 5000; ++i)
        distinct.push_back(Talk::word(i));
    const std::string different = joined(distinct);
    const auto figure = [&](const std::string& name, const std::string& text) {
        report.bar(name, secondsOf([&] { (void)cleanDictation(text, true); }), 5, 3, "s");
    };
    figure("5,000 equal words", repeated("word ", 5000));
    figure("5,000 distinct words", different);
    figure("5,000 words, two by turns", repeated("one two ", 2500));
    figure("5,000 of three words, never twice in a row", squareFree(5000));
    const std::string equal = repeated("word ", 5000), alike = joined(talk.wordsOf(3, 5000));
    report.bar("5,000 of three words, only their ends", secondsOf([&] { (void)dropRepeatedTail(alike); }), 5, 3, "s");
    report.bar("5,000 equal words, only their ends", secondsOf([&] { (void)dropRepeatedTail(equal); }), 5, 3, "s");
    figure("5,000 words, each twice", [&] {
        std::string text;
        for (const auto& word : distinct)
            text.append(word).append(" x ").append(word).append(" x ");
        return text;
    }());
    figure("1 MB of one word said again", repeated("word ", 200'000));
    figure("1 MB in one word", std::string(1'000'000, 'x'));
    figure("1 MB of distinct words", [&] {
        std::string text;
        for (std::size_t i = 0; text.size() < 1'000'000; ++i)
            text += Talk::word(i) + " ";
        return text;
    }());
}

void measureWords(Report& report) {
    report.heading("Time against the number of words, in ms");
    Table table({"words", "speech", "said twice", "stretches shuffled", "three words", "a meeting's line"});
    Talk talk;
    for (const std::size_t count : {250, 500, 1000, 2000, 4000}) {
        const std::string speech = talk.text(count), half = talk.text(count / 2), twice = fmt::format("{0} {0}", half);
        const double line = medianSeconds(repetitions, [&] { (void)cleanMeetingSegment(speech); });
        std::vector<std::string> row{std::to_string(count)};
        for (const std::string& text : {speech, twice, talk.shuffledStretches(count), squareFree(count)})
            row.push_back(decimal(cleaningTime(text) / millisecond, 2));
        row.push_back(decimal(line / millisecond, 2));
        table.add(row);
    }
    report.table(table);
}

} // namespace

void measureText(Report& report) {
    measureBars(report);
    measureVocabulary(report);
    measureHostile(report);
    measureWords(report);
}

} // namespace tavrin
