#include "FuzzChecks.h"
#include "dictation/text/DictationTextCleanup.h"
#include "dictation/text/NoiseMarkers.h"
#include "dictation/text/RepeatedPhrases.h"
#include "dictation/text/RepeatedTail.h"
#include "dictation/text/RepeatsTestSupport.h"

#include <cstddef>
#include <cstdint>

/// Any bytes as speech: the result is valid, no longer, made of words that were said, in their order; and repeats go as
/// the plain rules say.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tavrin;
    using fuzz::check;
    constexpr std::size_t mostBytes = 8000; // time may grow with the square of the words, which the benchmark measures
    if (size > mostBytes) return -1;
    const std::string given(reinterpret_cast<const char*>(data), size);
    const std::string text = repairedUtf8(given), line = cleanMeetingSegment(given);
    check(isValidUtf8(line) && line.size() <= text.size());
    check(trimmed(line) == line);
    const std::string speech = stripNoiseMarkers(given);
    check(speech.size() <= text.size() && fuzz::isPicked(line, speech));

    const std::string repaired = cleanDictation(given, false), meant = cleanDictation(given, true);
    check(isValidUtf8(repaired) && isValidUtf8(meant) && fuzz::isPicked(repaired, speech));
    // Layout puts in at most a number or a bullet, a point, a comma and blanks a word.
    check(repaired.size() <= speech.size() && meant.size() <= 8 * text.size());

    constexpr std::size_t affordable = 60; // words, for the plain rules
    if (words(speech).size() > affordable) return 0;
    check(collapseRestarts(speech) == plain::collapseRestarts(speech));
    check(collapseAdjacentPhrases(speech) == plain::collapseAdjacentPhrases(speech));
    check(dropRepeatedTail(speech) == plain::dropRepeatedTail(speech));
    return 0;
}
