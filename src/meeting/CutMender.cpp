#include "meeting/CutMender.h"

#include "audio/PcmFormat.h"
#include "dictation/text/MergeOverlap.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <span>
#include <utility>

namespace tavrin {

CutMender::Hearing CutMender::begin(const SpeechChunk& chunk) {
    const bool goesOn = chunk.followsForcedCut && chunk.index == nextIndex;
    nextIndex = chunk.index + 1;
    Hearing hearing{.samples = std::exchange(rest, {})};
    const bool hasRest = !hearing.samples.empty();
    if (hasRest && chunk.samples.empty()) {
        hearing.samples.clear(); // the speech ended at the cut: the word is as it was heard
        return hearing;
    }
    const std::size_t known =
        goesOn && hasRest ? std::min(SpeechChunker::chunkOverlapSamples, chunk.samples.size()) : 0;
    hearing.repeatsSound = chunk.followsForcedCut && known == 0;
    hearing.samples.insert(hearing.samples.end(), chunk.samples.begin() + static_cast<std::ptrdiff_t>(known),
                           chunk.samples.end());
    return hearing;
}

std::string CutMender::end(const SpeechChunk& chunk, const std::vector<float>& samples, const ChunkText& heard) {
    const std::string held = std::exchange(heldWord, {});
    if (trimmed(heard.text).empty()) return held;
    std::string text = held.empty() ? std::string(trimmed(heard.text)) : withoutEcho(heard.text);
    const std::size_t count = heard.words.size();
    if (chunk.endsInForcedCut && count >= 2) {
        const TimedWord& last = heard.words[count - 1];
        const double length = static_cast<double>(samples.size()) / pcmSampleRate;
        const double cut = std::max(last.start - leadIn, heard.words[count - 2].start);
        const std::string_view lastText = trimmed(last.text);
        if (last.end >= length - hitByCut && cut >= length - longestRest && text.ends_with(lastText) &&
            text.size() > lastText.size()) {
            rest.assign(samples.begin() + static_cast<std::ptrdiff_t>(cut * pcmSampleRate), samples.end());
            heldWord = lastText;
            text = trimmed(std::string_view(text).substr(0, text.size() - lastText.size()));
        }
    }
    const auto parts = words(text);
    if (!parts.empty()) wordBefore = normalizedWord(parts.back());
    return text;
}

std::string CutMender::withoutEcho(const std::string& text) const {
    const auto parts = words(text);
    const std::string first = parts.empty() ? std::string() : normalizedWord(parts.front());
    if (first.size() < 2 || !wordBefore.ends_with(first)) return std::string(trimmed(text));
    return joined(std::span(parts).subspan(1));
}

} // namespace tavrin
