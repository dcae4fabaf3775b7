#include "dictation/text/VocabularyCorrector.h"

#include "support/log/Log.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger logger{"Vocabulary"};

struct Variant {
    std::string_view text;
    std::string_view correct;
    std::size_t length = 0; // characters
    std::size_t place = 0;  // in the list
};

std::vector<Variant> variantsOf(std::span<const VocabularyCorrection> corrections) {
    std::vector<Variant> result;
    for (const VocabularyCorrection& correction : corrections)
        for (const std::string& variant : correction.variants)
            if (!variant.empty() && variant != correction.correct)
                result.push_back({variant, correction.correct, characterCount(variant), result.size()});
    std::ranges::sort(result, {}, [](const Variant& variant) {
        return std::pair(std::numeric_limits<std::size_t>::max() - variant.length, variant.place);
    });
    return result;
}

/// Several code points are matched by their full case folding, which caseFolded() gives code point by code point; so
/// what matches contains the needle. A single one is matched by its simple folding, which is the same for ASCII.
std::optional<std::string> needleOf(std::string_view variant) {
    const bool isFoldedInFull = isAscii(variant) || (isValidUtf8(variant) && codePoints(variant).size() > 1);
    return isFoldedInFull ? std::optional(caseFolded(variant)) : std::nullopt;
}

/// Neither part of a word nor of a combined character: what stands behind one is matched regardless of what stands
/// before it.
bool isBlank(char byte) {
    return byte == ' ' || byte == '\n' || byte == '\t';
}

} // namespace

/// A text and its case-folded form, and where in the text each folded byte comes from. Rules run over it one by one.
class VocabularyCorrector::FoldedText final {
public:
    explicit FoldedText(std::string_view source) : text(source) { appendFolded(text, 0, folded, origins); }

    void apply(const Rule& rule, bool isCorrected) {
        auto matches = matchesOf(rule);
        if (isCorrected) std::erase_if(matches, [&](ByteRange match) { return liesIn(rule.correct, match); });
        if (!matches.empty()) replace(matches, rule.correct);
    }

    std::string take() && { return std::move(text); }

private:
    using Origins = std::vector<std::size_t>;

    /// `shift` is added to the origins.
    static void appendFolded(std::string_view source, std::size_t shift, std::string& folded, Origins& origins) {
        for (std::size_t position = 0; position < source.size();) {
            const std::size_t begin = position;
            while (position < source.size() && isAscii(source.substr(position, 1)))
                origins.push_back(shift + position++);
            folded += caseFolded(source.substr(begin, position - begin));
            if (position == source.size()) break;
            const std::size_t special = position;
            nextCodePoint(source, position);
            folded += caseFolded(source.substr(special, position - special));
            origins.resize(folded.size(), shift + special);
        }
    }

    [[nodiscard]] bool liesIn(std::string_view correct, ByteRange match) const {
        const std::size_t first = match.end - std::min(match.end, correct.size());
        return correct.size() >= match.size() && text.find(correct, first) <= match.begin;
    }

    [[nodiscard]] std::vector<ByteRange> matchesOf(const Rule& rule) const {
        std::vector<ByteRange> result;
        for (const ByteRange place : placesOf(rule))
            for (const RegexMatch& match : rule.pattern.all(std::string_view(text).substr(place.begin, place.size())))
                result.push_back({place.begin + match.range().begin, place.begin + match.range().end});
        return result;
    }

    /// Stretches of the text from blank to blank, apart from one another, with all that the rule can match.
    [[nodiscard]] std::vector<ByteRange> placesOf(const Rule& rule) const {
        if (!rule.needle) return {{0, text.size()}};
        std::vector<ByteRange> places;
        const std::string& needle = *rule.needle;
        for (auto at = folded.find(needle); at != std::string::npos; at = folded.find(needle, at + 1)) {
            std::size_t end = origins[at + needle.size() - 1];
            nextCodePoint(text, end);
            addPlace(places, {origins[at], end});
        }
        return places;
    }

    /// Ranges come in order of their beginnings.
    void addPlace(std::vector<ByteRange>& places, ByteRange range) const {
        const std::size_t done = places.empty() ? 0 : places.back().end;
        if (range.end < done) return;
        std::size_t begin = std::max(range.begin, done);
        while (begin > done && !isBlank(text[begin - 1]))
            --begin;
        std::size_t end = range.end;
        while (end < text.size() && !isBlank(text[end]))
            ++end;
        end = std::min(end + 1, text.size());
        if (begin > done)
            places.push_back({begin - 1, end});
        else if (places.empty())
            places.push_back({0, end});
        else
            places.back().end = end;
    }

    void replace(const std::vector<ByteRange>& matches, std::string_view correct) {
        std::string foldedCorrect;
        Origins correctOrigins;
        appendFolded(correct, 0, foldedCorrect, correctOrigins);
        std::string newText;
        std::string newFolded;
        Origins newOrigins;
        newOrigins.reserve(origins.size());
        std::size_t done = 0;
        std::size_t foldedDone = 0;
        const auto keep = [&](std::size_t end) {
            const auto foldedEnd = static_cast<std::size_t>(std::ranges::lower_bound(origins, end) - origins.begin());
            const std::size_t shift = newText.size() - done; // wraps, and back again
            newText.append(text, done, end - done);
            newFolded.append(folded, foldedDone, foldedEnd - foldedDone);
            for (std::size_t i = foldedDone; i < foldedEnd; ++i)
                newOrigins.push_back(origins[i] + shift);
            foldedDone = foldedEnd;
        };
        for (const ByteRange match : matches) {
            keep(match.begin);
            for (const std::size_t origin : correctOrigins)
                newOrigins.push_back(origin + newText.size());
            newText += correct;
            newFolded += foldedCorrect;
            done = match.end;
            foldedDone = static_cast<std::size_t>(std::ranges::lower_bound(origins, match.end) - origins.begin());
        }
        keep(text.size());
        text = std::move(newText);
        folded = std::move(newFolded);
        origins = std::move(newOrigins);
    }

    std::string text;
    std::string folded;
    Origins origins; // as many as folded bytes
};

VocabularyCorrector::VocabularyCorrector(std::span<const VocabularyCorrection> corrections) {
    for (const Variant& variant : variantsOf(corrections)) {
        try {
            rules.push_back({Regex(R"(\b)" + Regex::escaped(variant.text) + R"(\b)", Regex::Case::insensitive),
                             std::string(variant.correct), needleOf(variant.text)});
        } catch (const std::invalid_argument&) {
            logger.warning("A variant of {} characters makes no pattern and is left out", variant.length);
        }
    }
}

std::string VocabularyCorrector::corrected(std::string_view text, bool isCorrected) const {
    if (!mayChange(text)) return std::string(text);
    FoldedText work(text);
    for (const Rule& rule : rules)
        work.apply(rule, isCorrected);
    return std::move(work).take();
}

bool VocabularyCorrector::mayChange(std::string_view text) const {
    if (text.empty() || rules.empty()) return false;
    const std::string folded = caseFolded(text);
    return std::ranges::any_of(rules, [&](const Rule& rule) { return !rule.needle || folded.contains(*rule.needle); });
}

std::string applyVocabularyCorrections(std::string_view text, std::span<const VocabularyCorrection> corrections) {
    if (text.empty() || corrections.empty()) return std::string(text);
    return VocabularyCorrector(corrections).corrected(text);
}

} // namespace tavrin
