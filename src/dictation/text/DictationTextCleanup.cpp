#include "dictation/text/DictationTextCleanup.h"

#include "dictation/text/NoiseMarkers.h"
#include "dictation/text/RepeatedPhrases.h"
#include "dictation/text/RepeatedTail.h"
#include "dictation/text/RestartedSpeech.h"
#include "dictation/text/SelfCorrection.h"
#include "dictation/text/SpokenFormatting.h"
#include "dictation/text/WordLists.h"
#include "support/text/Unicode.h"

namespace tavrin {

namespace {

constexpr std::string_view noiseOnlyPhrases[] = {
    "key click", "key clicks", "mouse click", "mouse clicks", "click",         "clicks", "tap",         "taps",
    "tap click", "tap clicks", "bang",        "bangs",        "burp",          "burps",  "bell ding",   "bell dings",
    "whistling", "cheering",   "screaming",   "applause",     "soft applause", "key",    "click click", "tap tap",
};
constexpr std::string_view loneWords[] = {
    "typing", "type", "blank audio", "the",  "a",         "an",       "i",         "i'm",      "and",
    "to",     "of",   "you",         "yeah", "okay",      "ok",       ".",         "click",    "clicks",
    "key",    "tap",  "bang",        "burp", "whistling", "cheering", "screaming", "applause", "music",
};

std::string withoutRepeats(std::string_view text) {
    return dropAdjacentDuplicateWords(dropRepeatedTail(collapseAdjacentPhrases(collapseRestarts(text))));
}

} // namespace

std::string cleanDictation(std::string_view text, bool cleanUpSpeech) {
    std::string speech = stripNoiseMarkers(trimmed(text));
    if (speech.empty()) return speech;
    const std::string said = withoutRepeats(speech);
    if (!cleanUpSpeech) return std::string(trimmed(said));
    const std::string meant = withoutRepeats(applySelfCorrection(said));
    return std::string(trimmed(applySpokenFormatting(dropLeadingFillers(meant))));
}

std::string cleanMeetingSegment(std::string_view text) {
    std::string speech = stripNoiseMarkers(trimmed(text));
    if (speech.empty()) return speech;
    const std::string said = dropAdjacentDuplicateWords(collapseAdjacentPhrases(collapseRestarts(speech)));
    const std::string_view line = trimmed(said);
    const std::string lower = lowercased(line);
    const bool isNoise =
        isOneOf(trimmed(lower, isWhiteSpaceOrPunctuation), noiseOnlyPhrases) || isOneOf(lower, loneWords);
    return isNoise ? std::string() : std::string(line);
}

} // namespace tavrin
