#include "speech/SegmentSeeker.h"

#include "speech/SpeechAudio.h"
#include "speech/Tokenizer.h"
#include "speech/WordAlignment.h"

#include <algorithm>
#include <cmath>

namespace tavrin {

namespace {

/// A decoder gone astray may close segments of nothing; the walk goes on all the same.
constexpr std::size_t leastAdvance = speechSampleRate;

float secondsOf(std::size_t samples) {
    return static_cast<float>(samples) / static_cast<float>(speechSampleRate);
}

std::size_t samplesOf(float seconds) {
    return static_cast<std::size_t>(std::lround(seconds * static_cast<float>(speechSampleRate)));
}

} // namespace

bool SegmentSeeker::isTime(int token) const {
    return token >= tokenizer.special().timeTokenBegin;
}

float SegmentSeeker::timeOf(int token) const {
    return static_cast<float>(token - tokenizer.special().timeTokenBegin) * secondsPerPosition;
}

SegmentSeeker::Found SegmentSeeker::findSeekPointAndSegments(const DecodingResult& result,
                                                             const DecodingOptions& options,
                                                             const Window& window) const {
    Found found{.seek = window.seek + window.segmentSize};
    const auto& tokens = result.tokens;
    std::vector<Slice> slices;
    const float length = secondsOf(window.segmentSize);
    std::size_t begin = 0;
    float start = !tokens.empty() && isTime(tokens.front()) ? timeOf(tokens.front()) : 0.0F;
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        if (!isTime(tokens[i]) || !isTime(tokens[i - 1]) || i == 1) continue;
        slices.push_back({begin, i, start, timeOf(tokens[i - 1])});
        begin = i;
        start = timeOf(tokens[i]);
    }
    const bool endsOpen = !tokens.empty() && !isTime(tokens.back());
    const bool endsAtPair = begin + 1 == tokens.size() && begin > 0;
    if (begin > 0 && (endsAtPair || (endsOpen && result.hitLimit))) {
        const std::size_t moved = std::max(samplesOf(slices.back().stop), leastAdvance);
        found.seek = window.seek + std::min(moved, window.segmentSize);
    } else if (!tokens.empty()) {
        slices.push_back({begin, tokens.size(), start, endsOpen ? length : timeOf(tokens.back())});
    }
    if (options.maxWindowSeek && *options.maxWindowSeek > 0)
        found.seek = std::min(found.seek, window.seek + static_cast<std::size_t>(*options.maxWindowSeek));
    for (Slice& slice : slices) {
        slice.stop = std::min(slice.stop, length);
        slice.start = std::min(slice.start, slice.stop);
        const int id = window.firstSegmentId + static_cast<int>(found.segments.size());
        auto segment = makeSegment(result, options, window, slice, id);
        if (!segment.text.empty()) found.segments.push_back(std::move(segment));
    }
    return found;
}

TranscriptionSegment SegmentSeeker::makeSegment(const DecodingResult& result, const DecodingOptions& options,
                                                const Window& window, const Slice& slice, int id) const {
    const float offset = secondsOf(window.seek);
    TranscriptionSegment segment{.id = id,
                                 .seek = static_cast<int>(window.seek),
                                 .start = offset + slice.start,
                                 .end = offset + slice.stop,
                                 .temperature = result.temperature,
                                 .avgLogprob = result.avgLogProb,
                                 .compressionRatio = result.compressionRatio,
                                 .noSpeechProb = result.noSpeechProb};
    for (std::size_t i = slice.begin; i < slice.end; ++i) {
        if (options.skipSpecialTokens && result.tokens[i] >= tokenizer.special().specialTokenBegin) continue;
        segment.tokens.push_back(result.tokens[i]);
        segment.tokenLogProbs.push_back(result.tokenLogProbs[i]);
    }
    segment.text = tokenizer.decode(segment.tokens);
    return segment;
}

void SegmentSeeker::addWordTimestamps(std::vector<TranscriptionSegment>& segments, const DecodingResult& result,
                                      const Window& window) const {
    auto words = alignedWords(result, tokenizer, (window.segmentSize + samplesPerPosition - 1) / samplesPerPosition);
    const float offset = secondsOf(window.seek), end = offset + secondsOf(window.segmentSize);
    auto next = words.begin();
    for (auto& segment : segments) {
        auto left = std::ranges::count_if(segment.tokens,
                                          [&](int token) { return token < tokenizer.special().specialTokenBegin; });
        segment.words.emplace();
        for (; next != words.end() && left > 0; ++next) {
            left -= static_cast<std::ptrdiff_t>(next->tokens.size());
            next->start = std::min(next->start + offset, end);
            next->end = std::min(next->end + offset, end);
            segment.words->push_back(std::move(*next));
        }
        if (segment.words->empty()) continue;
        segment.start = segment.words->front().start;
        segment.end = segment.words->back().end;
    }
}

} // namespace tavrin
