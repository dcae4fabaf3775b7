#include "dictation/text/SelfCorrection.h"

#include "support/text/Regex.h"
#include "support/text/Unicode.h"

#include <optional>

namespace tavrin {

namespace {

// In lower case. A later cue of the table overrides an earlier one wherever both stand.
constexpr std::string_view correctionCues[] = {
    "no wait", "wait no", "no,", "i mean", "actually,", "scratch that", "let me rephrase",
};
constexpr std::size_t mostCharactersOfNothing = 2;

/// The byte behind the last occurrence that splits no character.
std::optional<std::size_t> endOfLast(std::string_view text, std::string_view cue) {
    for (std::size_t found = text.rfind(cue); found != std::string_view::npos; found = text.rfind(cue, found - 1)) {
        const std::size_t end = found + cue.size();
        if (isCharacterBoundary(text, found) && isCharacterBoundary(text, end)) return end;
        if (found == 0) break;
    }
    return std::nullopt;
}

} // namespace

std::string applySelfCorrection(std::string_view text) {
    const std::string lower = lowercasedAscii(text); // no other letter has a cue's letter for its lower case
    std::size_t end = 0;
    for (const std::string_view cue : correctionCues)
        end = endOfLast(lower, cue).value_or(end);
    const std::string_view rest = trimmed(text.substr(end), isWhiteSpaceOrPunctuation);
    return std::string(end > 0 && characterCount(rest) > mostCharactersOfNothing ? rest : text);
}

std::string dropLeadingFillers(std::string_view text) {
    static const Regex fillers(R"(^(?:\s*(?:um+|uh+|er+|erm+|hmm+|like,?\s*))+ )", Regex::Case::insensitive);
    const auto found = fillers.first(text);
    return std::string(found ? text.substr(found->range().end) : text);
}

} // namespace tavrin
