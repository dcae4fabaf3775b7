#include "dictation/text/EchoAlignment.h"

#include "dictation/text/EditDistance.h"
#include "dictation/text/LooseWords.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace tavrin {

namespace {

using Score = std::int32_t;

// Three equal words just make a stretch.
constexpr Score same = 4, similar = 2, different = -3, missing = -3;
constexpr Score leastOfStretch = 3 * same;
constexpr std::size_t mostDifferentInRow = 2;              // more are the user's own
constexpr std::size_t fewestLetters = 4, mostLetters = 64; // of words that may be similar

/// True for words that one sound may be heard as: they begin or end alike, and at most half of the letters differ.
bool soundAlike(std::u32string_view a, std::u32string_view b) {
    const std::size_t shorter = std::min(a.size(), b.size()), longer = std::max(a.size(), b.size());
    if (shorter < fewestLetters || longer > mostLetters || longer > 2 * shorter) return false;
    if (a.front() != b.front() && a.back() != b.back()) return false;
    return 2 * editDistance(a, b) <= longer;
}

/// The words of one side, each different one once.
struct Numbered {
    explicit Numbered(std::span<const std::string> words) {
        std::unordered_map<std::string_view, std::size_t> known;
        for (const std::string& word : words) {
            const auto [entry, isNew] = known.try_emplace(word, distinct.size());
            if (isNew) distinct.push_back(word);
            ids.push_back(entry->second);
        }
    }
    std::vector<std::string_view> distinct;
    std::vector<std::size_t> ids;
};

/// What each word of one side is worth beside each of the other.
class WordScores {
public:
    WordScores(const Numbered& heard, const Numbered& said) : width(said.distinct.size()) {
        std::vector<std::u32string> others;
        others.reserve(width);
        for (const std::string_view word : said.distinct)
            others.push_back(codePoints(word));
        for (const std::string_view word : heard.distinct) {
            const std::u32string letters = codePoints(word);
            for (std::size_t j = 0; j < width; ++j)
                scores.push_back(scoreOf(word, letters, said.distinct[j], others[j]));
        }
    }
    Score of(std::size_t heardId, std::size_t saidId) const { return scores[heardId * width + saidId]; }

private:
    static Score scoreOf(std::string_view a, std::u32string_view aLetters, std::string_view b,
                         std::u32string_view bLetters) {
        if (a == b) return same;
        const bool beginAlike = aLetters.front() == bLetters.front();
        return (beginAlike && looseWordMatch(a, b)) || soundAlike(aLetters, bLetters) ? similar : different;
    }

    std::size_t width;
    std::vector<Score> scores;
};

/// Finds stretches by local alignment: the best one first, then what is left on both sides of it.
class StretchFinder {
public:
    StretchFinder(std::span<const std::string> heardWords, std::span<const std::string> saidWords)
        : heard(heardWords), said(saidWords), scores(heard, said), marks(heardWords.size()) {}

    std::vector<bool> find() && {
        std::vector<Range> open{{0, heard.ids.size()}};
        while (!open.empty()) {
            const Range range = open.back();
            open.pop_back();
            const Range stretch = markBest(range);
            if (stretch.begin == stretch.end) continue;
            open.push_back({range.begin, stretch.begin});
            open.push_back({stretch.end, range.end});
        }
        return std::move(marks);
    }

private:
    struct Range {
        std::size_t begin, end;
    };

    Score& best(std::size_t row, std::size_t column) { return table[row * (said.ids.size() + 1) + column]; }
    Score scoreAt(Range range, std::size_t row, std::size_t column) const {
        return scores.of(heard.ids[range.begin + row - 1], said.ids[column - 1]);
    }

    /// Fills the table for these words of the candidate: row and column count the words before the cell.
    void fill(Range range) {
        const std::size_t rows = range.end - range.begin, columns = said.ids.size();
        table.assign((rows + 1) * (columns + 1), 0);
        for (std::size_t row = 1; row <= rows; ++row)
            for (std::size_t column = 1; column <= columns; ++column)
                best(row, column) = std::max({Score(0), best(row - 1, column - 1) + scoreAt(range, row, column),
                                              best(row - 1, column) + missing, best(row, column - 1) + missing});
    }

    /// Marks the best stretch of these words; empty if there is none.
    Range markBest(Range range) {
        fill(range);
        const auto top = static_cast<std::size_t>(std::ranges::max_element(table) - table.begin());
        if (table[top] < leastOfStretch) return {range.begin, range.begin};
        std::size_t row = top / (said.ids.size() + 1), column = top % (said.ids.size() + 1);
        const std::size_t end = range.begin + row;
        std::vector<std::size_t> differing; // words of the candidate that stand for others, in a row
        while (best(row, column) > 0) {
            const Score score = scoreAt(range, row, column);
            if (best(row, column) == best(row - 1, column - 1) + score) {
                --row;
                --column;
                if (score == different)
                    differing.push_back(range.begin + row);
                else
                    mark(range.begin + row, differing);
            } else if (best(row, column) == best(row - 1, column) + missing) {
                --row;
            } else {
                --column;
            }
        }
        return {range.begin + row, end};
    }

    void mark(std::size_t word, std::vector<std::size_t>& differing) {
        marks[word] = true;
        if (differing.size() <= mostDifferentInRow)
            for (const std::size_t other : differing)
                marks[other] = true;
        differing.clear();
    }

    Numbered heard, said;
    WordScores scores;
    std::vector<bool> marks;
    std::vector<Score> table;
};

} // namespace

std::vector<bool> echoedWords(std::span<const std::string> heard, std::span<const std::string> said) {
    if (heard.empty() || said.empty()) return std::vector<bool>(heard.size());
    return StretchFinder(heard, said).find();
}

} // namespace tavrin
