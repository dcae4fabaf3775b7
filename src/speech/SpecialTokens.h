#pragma once

#include <string_view>

namespace tavrin {

/// Texts of the vocabulary that steer the decoder.
constexpr std::string_view startOfTranscriptText = "<|startoftranscript|>";
constexpr std::string_view noTimestampsText = "<|notimestamps|>";

/// Ids of the tokens that steer the decoder. `timeTokenBegin` stands for 0.00 s; each next id is 0.02 s later.
struct SpecialTokens {
    int endToken = 0;
    int englishToken = 0;
    int noSpeechToken = 0;
    int noTimestampsToken = 0;
    /// The first id that is no text.
    int specialTokenBegin = 0;
    int startOfPreviousToken = 0;
    int startOfTranscriptToken = 0;
    int timeTokenBegin = 0;
    int transcribeToken = 0;
    int translateToken = 0;
    /// A single blank.
    int whitespaceToken = 0;
};

} // namespace tavrin
