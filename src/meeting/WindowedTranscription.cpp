#include "meeting/WindowedTranscription.h"

#include "dictation/text/MergeOverlap.h"

#include <algorithm>

namespace tavrin {

std::string transcribeInWindows(std::span<const float> samples, const TranscribeWindow& transcribeWindow) {
    std::string text;
    std::size_t begin = 0;
    while (true) {
        const auto window = samples.subspan(begin, std::min(transcriptionWindowSamples, samples.size() - begin));
        text = mergeOverlap(text, transcribeWindow(window));
        if (begin + window.size() == samples.size()) return text;
        begin += transcriptionWindowSamples - transcriptionOverlapSamples;
    }
}

} // namespace tavrin
