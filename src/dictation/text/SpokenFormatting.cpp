#include "dictation/text/SpokenFormatting.h"

#include "dictation/text/Salutations.h"
#include "dictation/text/SpokenCues.h"
#include "support/text/Regex.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <functional>
#include <span>
#include <vector>

namespace tavrin {

namespace {

constexpr std::string_view paragraphCues[] = {
    "new paragraph",         "next paragraph",      "new para", "next para", "paragraph break",
    "start a new paragraph", "start new paragraph",
};
constexpr std::string_view bulletCues[] = {
    "new bullet point", "next bullet point", "bullet point",     "new bullet",
    "next bullet",      "dash point",        "bullet list item", "bullet",
};
constexpr std::string_view cardinals[] = {
    "one", "two", "three", "four", "five", "six", "seven", "eight", "nine", "ten",
};
constexpr std::string_view ordinals[] = {
    "first", "second", "third", "fourth", "fifth", "sixth", "seventh", "eighth", "ninth", "tenth",
};
constexpr std::size_t fewestListLines = 2;

SpokenCues cuesFor(std::span<const std::string_view> words, const std::string& replacement) {
    std::vector<SpokenCues::Cue> cues;
    for (const std::string_view word : words)
        cues.push_back({std::string(word), replacement});
    return SpokenCues(cues);
}

SpokenCues numberCues() {
    std::vector<SpokenCues::Cue> cues;
    for (const bool inDigits : {false, true})
        for (const char* noun : {"number ", "item "})
            for (std::size_t i = 0; i < std::size(cardinals); ++i) {
                const std::string digits = std::to_string(i + 1);
                cues.push_back({noun + (inDigits ? digits : std::string(cardinals[i])), "\n" + digits + ". "});
            }
    return SpokenCues(cues);
}

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    for (std::size_t begin = 0;;) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        if (end == text.size()) return lines;
        begin = end + 1;
    }
}

std::string replaceNumberCues(std::string_view text) {
    static const SpokenCues cues = numberCues();
    static const Regex listLine(R"(^\d+\.\s)");
    std::string result = replaceCues(text, cues);
    const auto count =
        std::ranges::count_if(linesOf(result), [](std::string_view line) { return listLine.isFoundIn(line); });
    return static_cast<std::size_t>(count) >= fewestListLines ? result : std::string(text);
}

/// 1 to 10.
std::size_t numberOf(std::string_view ordinal) {
    return static_cast<std::size_t>(std::ranges::find(ordinals, caseFolded(ordinal)) - std::begin(ordinals)) + 1;
}

bool isBlank(char32_t codePoint) {
    return codePoint == ' ';
}

std::string withoutBlanksAtLineEnds(std::string_view text) {
    std::vector<std::string_view> lines = linesOf(text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) lines[i].remove_prefix(std::min(lines[i].find_first_not_of(' '), lines[i].size()));
        if (i + 1 < lines.size()) lines[i] = trimmedEnd(lines[i], isBlank);
    }
    return joined(lines, "\n");
}

std::string withPlainLineEnds(std::string_view text) {
    static const Regex lineEnd("\\r\\n|[\\r\\x0b\\f\\x85\\u2028\\u2029]");
    return lineEnd.replaced(text, "\n");
}

} // namespace

std::string applySpokenFormatting(std::string_view text) {
    static const SpokenCues paragraphs = cuesFor(paragraphCues, "\n\n");
    static const SpokenCues bullets = cuesFor(bulletCues, "\n• ");
    std::string result = withPlainLineEnds(repairedUtf8(text));
    result = replaceCues(result, paragraphs);
    result = replaceCues(result, bullets);
    result = replaceNumberCues(result);
    result = convertOrdinals(result);
    result = insertSalutationBreaks(result);
    return normalizeLayout(result);
}

std::string convertOrdinals(std::string_view text) {
    static const Regex ordinal(
        R"((?i)(?<![a-z])(first|second|third|fourth|fifth|sixth|seventh|eighth|ninth|tenth)\b\s*[.,:]?\s+)");
    std::vector<std::size_t> numbers;
    for (const RegexMatch& match : ordinal.all(text))
        numbers.push_back(numberOf(match.group(1).value_or("")));
    if (std::ranges::adjacent_find(numbers, std::less()) == numbers.end()) return std::string(text);
    return ordinal.replaced(text, [](const RegexMatch& match) {
        const std::string number = std::to_string(numberOf(match.group(1).value_or(""))) + ". ";
        return match.range().begin == 0 ? number : "\n" + number;
    });
}

std::string normalizeLayout(std::string_view text) {
    static const Regex emptyLines(R"(\n{3,})");
    static const Regex bullet(R"(•(?=\S))");
    // "10.30" is a time or an amount.
    static const Regex listNumber(R"((?md)^(\d+)\.(?=[^\s\d]))");
    static const Regex whiteSpace(R"([^\S\n]{2,})");
    std::string result = withoutBlanksAtLineEnds(text);
    result = emptyLines.replaced(result, "\n\n");
    result = bullet.replaced(result, "• ");
    result = listNumber.replaced(
        result, [](const RegexMatch& match) { return std::string(match.group(1).value_or("")) + ". "; });
    result = whiteSpace.replaced(result, " ");
    std::vector<std::string_view> lines = linesOf(result);
    for (std::string_view& line : lines)
        line = trimmed(line, isBlank);
    return std::string(trimmed(joined(lines, "\n")));
}

} // namespace tavrin
