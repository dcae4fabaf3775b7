#pragma once

#include "meeting/EnglishSpellingPreference.h"
#include "meeting/TranscriptionSpeechLanguage.h"

#include <string>
#include <string_view>

namespace tavrin {

/// The text with American spellings of a fixed list of words in British spelling: whole words only, in any case.
/// A word in capitals stays in capitals, one with a capital at its head keeps it; any other is written as in the list.
/// Pure; any thread. A megabyte of text takes about a tenth of a second.
std::string britishSpelling(std::string_view text);

/// britishSpelling() if the user wants it and the language is English or may be; else the text as it is.
std::string applySpellingPreference(std::string_view text, TranscriptionSpeechLanguage language,
                                    EnglishSpellingPreference spelling);

} // namespace tavrin
