#pragma once

#include "dictation/text/VocabularyCorrection.h"
#include "support/text/Regex.h"

namespace tavrin {

/// Puts the user's words in place of their mishearings.
///
/// Rules:   one a variant, longest variant first, else in the order of the list; each is applied to the text that the
///          one before left. A variant is found regardless of case, but only between word boundaries; it is replaced by
///          the wanted form as that stands. A variant that is empty, or is the wanted form already, is no rule.
/// Thread:  immutable: any, several at once. Compiling a long list takes milliseconds: make one per list, not per text.
/// Cost:    a line without a mishearing costs some microseconds under 200 rules, an hour's transcript some
/// milliseconds.
class VocabularyCorrector final {
public:
    explicit VocabularyCorrector(std::span<const VocabularyCorrection> corrections);

    /// With `isCorrected` a variant stays where it is part of its own wanted form, which an earlier correction may have
    /// put there.
    [[nodiscard]] std::string corrected(std::string_view text, bool isCorrected = false) const;

private:
    struct Rule {
        Regex pattern;
        std::string correct;
        /// Case-folded; a text that does not contain it, case-folded, holds no match. Absent where that is not certain.
        std::optional<std::string> needle;
    };
    class FoldedText;

    [[nodiscard]] bool mayChange(std::string_view text) const;

    std::vector<Rule> rules;
};

/// The same for a single text.
std::string applyVocabularyCorrections(std::string_view text, std::span<const VocabularyCorrection> corrections);

} // namespace tavrin
