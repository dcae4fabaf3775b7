#pragma once

#include <string>
#include <string_view>

/// Makes what a person wanted to write of what the speech model gives: without its markers for sounds, the phrases it
/// makes up, and what it says twice. Nothing is capitalised, and no word is made up.
///
/// Pure functions, any thread. Ill-formed UTF-8 becomes U+FFFD. An empty result means that nothing worth keeping was
/// said. The steps are in NoiseMarkers.h, RestartedSpeech.h, RepeatedPhrases.h, RepeatedTail.h, SelfCorrection.h and
/// SpokenFormatting.h; 750 words of speech take a few milliseconds.
namespace tavrin {

/// What was dictated. With `cleanUpSpeech` the speaker's own corrections, hesitations at the beginning and spoken
/// layout ("new paragraph") are carried out as well; without it only what the model did wrong is put right.
std::string cleanDictation(std::string_view text, bool cleanUpSpeech);

/// A line of a meeting. Empty as well for a line that is only a noise in words ("mouse click") or one small word.
std::string cleanMeetingSegment(std::string_view text);

} // namespace tavrin
