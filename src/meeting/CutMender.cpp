#include "meeting/CutMender.h"

#include "audio/PcmFormat.h"
#include "dictation/text/EditDistance.h"
#include "dictation/text/MergeOverlap.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <span>
#include <utility>

namespace tavrin {

namespace {

/// The same word, perhaps heard a little differently or from its middle on.
bool isAlike(const std::string& word, const std::string& before) {
    if (word.empty() || before.empty()) return false;
    if (word.size() >= 3 && before.ends_with(word)) return true;
    const std::u32string a = codePoints(word), b = codePoints(before);
    return 3 * editDistance(a, b) <= std::max(a.size(), b.size());
}

} // namespace

std::vector<float> CutMender::begin(const SpeechChunk& chunk) {
    const bool goesOn = chunk.followsForcedCut && chunk.index == nextIndex;
    nextIndex = chunk.index + 1;
    std::vector<float> hearing = std::exchange(rest, {});
    const bool hasRest = !hearing.empty();
    repeatsSound = false;
    if (chunk.samples.empty()) return {}; // the speech ended at the cut: a word that was left is as it was heard
    const std::size_t known =
        goesOn && hasRest ? std::min(SpeechChunker::chunkOverlapSamples, chunk.samples.size()) : 0;
    repeatsSound = goesOn && known == 0;
    hearing.insert(hearing.end(), chunk.samples.begin() + static_cast<std::ptrdiff_t>(known), chunk.samples.end());
    return hearing;
}

std::string CutMender::end(const SpeechChunk& chunk, const std::vector<float>& samples, const ChunkText& heard) {
    std::string before = std::exchange(held, {});
    if (trimmed(heard.text).empty()) {
        if (!before.empty()) lastText = before;
        return before;
    }
    std::string text = before.empty() ? std::string(trimmed(heard.text)) : withoutEcho(heard.text);
    if (chunk.endsInForcedCut) text = withoutHeld(text, samples, heard.words);
    const auto parts = words(text);
    if (!parts.empty()) wordBefore = normalizedWord(parts.back());
    return newWords(std::move(text));
}

std::string CutMender::newWords(std::string text) {
    std::string own(repeatsSound ? withoutOverlap(lastText, text) : text);
    lastText = std::move(text);
    return own;
}

std::string CutMender::giveUp() {
    const auto parts = words(held);
    if (!parts.empty()) wordBefore = normalizedWord(parts.back());
    lastText.clear(); // nobody knows what the sound that comes twice says
    return std::exchange(held, {});
}

/// At the end of what was said. Where that are most words, their times are not to be trusted.
std::size_t CutMender::wordsWithoutSound(std::span<const TimedWord> said, double length) {
    std::size_t count = 0;
    while (count < said.size() && said[said.size() - 1 - count].start >= length - leastSound)
        ++count;
    return 2 * count > said.size() ? 0 : count;
}

std::size_t CutMender::wordsToHold(std::span<const std::string_view> parts, std::size_t most) {
    std::size_t best = std::min<std::size_t>(most, 1);
    std::size_t longest = 0;
    for (std::size_t count = best; count <= std::min(most, mostHeldWords); ++count) {
        const std::size_t letters = normalizedWord(parts[parts.size() - 1 - count]).size();
        if (count == 0 || letters <= longest + 1) continue;
        longest = letters;
        best = count;
    }
    return best;
}

std::string CutMender::withoutHeld(const std::string& text, const std::vector<float>& samples,
                                   std::span<const TimedWord> said) {
    const double length = static_cast<double>(samples.size()) / pcmSampleRate;
    auto parts = words(text);
    const std::size_t madeUp = wordsWithoutSound(said, length);
    said = said.first(said.size() - madeUp);
    parts.resize(parts.size() - std::min(parts.size(), madeUp));
    if (parts.size() < 2 || said.size() < 2 || said.back().end < length - hitByCut) return joined(parts);
    const std::size_t count = wordsToHold(parts, std::min(said.size(), parts.size()) - 1);
    const double cut = std::max(said[said.size() - 1 - count].start - leadIn, 0.0);
    if (count == 0 || cut < length - longestRest) return joined(parts);
    rest.assign(samples.begin() + static_cast<std::ptrdiff_t>(cut * pcmSampleRate), samples.end());
    held = joined(std::span(parts).last(count));
    return joined(std::span(parts).first(parts.size() - count));
}

std::string CutMender::withoutEcho(const std::string& text) const {
    const auto parts = words(text);
    for (std::size_t i = 0; i < std::min(parts.size(), mostEchoWords); ++i)
        if (isAlike(normalizedWord(parts[i]), wordBefore)) return joined(std::span(parts).subspan(i + 1));
    return std::string(trimmed(text));
}

} // namespace tavrin
