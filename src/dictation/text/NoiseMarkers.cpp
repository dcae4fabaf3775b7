#include "dictation/text/NoiseMarkers.h"

#include "support/text/Regex.h"
#include "support/text/Unicode.h"

#include <initializer_list>
#include <vector>

namespace tavrin {

namespace {

using Expressions = std::vector<Regex>;

Expressions compiled(std::initializer_list<const char*> patterns) {
    Expressions result;
    for (const char* pattern : patterns)
        result.emplace_back(pattern, Regex::Case::insensitive);
    return result;
}

/// All begin with an opening bracket.
const Expressions& noisePatterns() {
    static const Expressions patterns = compiled({
        R"(\[BLANK[^\]]*\]?)",
        R"(\[END\]?)",
        R"(\[START\]?)",
        R"(\[MUSIC\]?)",
        R"(\[Applause\]?)",
        R"(\[Laughter\]?)",
        R"(\[Silence\]?)",
        R"(\[inaudible\]?)",
        R"(\[typing[^\]]*\]?)",
        R"(\[laughs?\]?)",
        R"(\[laughter\]?)",
        R"(\[BL\b[^\]]*)",
        R"(\[beeps?\]?)",
        R"(\[ring(?:ing)?\]?)",
        R"(\[dial ?tone\]?)",
    });
    return patterns;
}

const Expressions& roundNoisePatterns() {
    static const Expressions patterns =
        compiled({R"(\((?:music|applause|laughter|silence|inaudible|beeps?|ring(?:ing)?|dial ?tone)\))"});
    return patterns;
}

/// The first two are what the model makes of the hint to spell the British way.
const Expressions& hallucinatedPhrases() {
    static const Expressions patterns = compiled({
        R"(\b(?:the\s+)?british\s+english(?:\s+spelling(?:\s+throughout)?)?\b)",
        R"(\bprefer\s+british\s+english\b)",
        R"(\bthanks?\s+for\s+watching\b)",
        R"(\bthank\s+you\s+for\s+watching\b)",
        R"(\bthanks?\s+for\s+your\s+time\b)",
        R"(\bplease\s+subscribe\b)",
        R"(\bsee\s+you\s+next\s+time\b)",
    });
    return patterns;
}

void removeMatches(std::string& text, const Expressions& expressions) {
    for (const Regex& expression : expressions)
        if (expression.isFoundIn(text)) text = expression.replaced(text, "");
}

void removeAll(std::string& text, std::string_view literal) {
    std::string result;
    std::size_t done = 0;
    for (std::size_t found = 0; (found = text.find(literal, done)) != std::string::npos; done = found + literal.size())
        result.append(text, done, found - done);
    if (done > 0) text = result.append(text, done);
}

} // namespace

std::string stripNoiseMarkers(std::string_view text) {
    static const Regex longWhiteSpace(R"(\s{2,})");
    std::string result = repairedUtf8(text);
    if (result.contains('[')) removeMatches(result, noisePatterns());
    if (result.contains('(')) removeMatches(result, roundNoisePatterns());
    removeAll(result, ">>");
    removeMatches(result, hallucinatedPhrases());
    // Brackets are punctuation, so none is left at the ends.
    return std::string(trimmed(longWhiteSpace.replaced(result, " "), isWhiteSpaceOrPunctuation));
}

} // namespace tavrin
