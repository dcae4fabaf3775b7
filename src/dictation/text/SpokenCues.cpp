#include "dictation/text/SpokenCues.h"

#include "support/text/Unicode.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace tavrin {

namespace {

/// Text as it is, or what stands for a command found in it.
struct Piece {
    std::string_view text;
    bool isReplaced = false;
};

/// A piece begins where a command ended, so a command at its beginning counts though nothing stands before it.
void splitAtMatches(std::string_view text, const Regex& command, std::string_view replacement,
                    std::vector<Piece>& pieces) {
    std::size_t done = 0;
    for (const RegexMatch& match : command.all(text)) {
        pieces.push_back({text.substr(done, match.range().begin - done)});
        pieces.push_back({replacement, true});
        done = match.range().end;
    }
    pieces.push_back({text.substr(done)});
}

} // namespace

SpokenCues::SpokenCues(std::span<const Cue> cues) {
    for (const auto& [words, replacement] : cues) {
        const std::size_t length = characterCount(words);
        const auto place = std::ranges::upper_bound(expressions, length, std::greater(), &Expression::length);
        const Regex pattern(R"((?i)(?:^|\G(?<=\s)|\s+))" + Regex::escaped(words) + R"(\b[.,:]?\s*)");
        expressions.insert(place, {length, caseFolded(words), pattern, replacement});
    }
}

std::string replaceCues(std::string_view text, const SpokenCues& cues) {
    const std::string foldedText = caseFolded(text); // quicker to search than the text for a pattern
    std::vector<Piece> pieces{{text}};
    for (const auto& [length, folded, pattern, replacement] : cues.expressions) {
        if (!foldedText.contains(folded)) continue;
        std::vector<Piece> finer;
        for (const Piece& piece : pieces) {
            if (piece.isReplaced)
                finer.push_back(piece);
            else
                splitAtMatches(piece.text, pattern, replacement, finer);
        }
        pieces = std::move(finer);
    }
    std::string result;
    for (const Piece& piece : pieces)
        result += piece.text;
    return result;
}

} // namespace tavrin
