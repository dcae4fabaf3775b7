#pragma once

#include "speech/DecodingOptions.h"
#include "speech/TranscriptionResult.h"

#include <cstddef>
#include <vector>

namespace tavrin {

class Tokenizer;

/// Turns the tokens of a window into timed segments and says where the next window begins.
class SegmentSeeker final {
public:
    /// `tokenizer` must outlive the seeker.
    explicit SegmentSeeker(const Tokenizer& words) : tokenizer(words) {}

    struct Window {
        /// Samples from the start of the audio, and how many the window holds.
        std::size_t seek = 0;
        std::size_t segmentSize = 0;
        /// The first segment's id.
        int firstSegmentId = 0;
    };
    struct Found {
        std::size_t seek = 0;
        std::vector<TranscriptionSegment> segments;
    };

    /// Each pair of adjacent time tokens closes a segment. If the text stops right after such a pair, or breaks off in
    /// an open segment behind one, the next window begins at the pair; else behind this window.
    [[nodiscard]] Found findSeekPointAndSegments(const DecodingResult& result, const DecodingOptions& options,
                                                 const Window& window) const;

    /// Gives every word of the segments its time by aligning the attention of `result` with the audio, and moves the
    /// segments' ends to their first and last words. Throws SpeechError if the weights have not the form they must
    /// have.
    void addWordTimestamps(std::vector<TranscriptionSegment>& segments, const DecodingResult& result,
                           const Window& window) const;

private:
    struct Slice {
        std::size_t begin, end; ///< of the result's tokens
        float start, stop;      ///< seconds in the window
    };
    [[nodiscard]] TranscriptionSegment makeSegment(const DecodingResult& result, const DecodingOptions& options,
                                                   const Window& window, const Slice& slice, int id) const;
    [[nodiscard]] float timeOf(int token) const;
    [[nodiscard]] bool isTime(int token) const;

    const Tokenizer& tokenizer;
};

} // namespace tavrin
