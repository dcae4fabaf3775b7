#include "speech/WordAlignment.h"

#include "speech/SpeechAudio.h"
#include "speech/SpeechError.h"
#include "speech/Tokenizer.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace tavrin {

namespace {

constexpr std::size_t medianWidth = 7;
/// A word is not held longer than this many times the window's usual word, and never cut under `shortestLimit` seconds.
constexpr float longestWordRatio = 2.0F;
constexpr float shortestLimit = 0.6F;
constexpr std::array<std::string_view, 7> languagesWithoutBlanks{"zh", "ja", "th", "lo", "my", "yue", "bo"};

/// The first `rows` rows, standardised over them at each position and averaged over the heads: [rows, positions].
std::vector<float> meanAttention(const AlignmentWeights& weights, std::size_t rows, std::size_t positions) {
    std::vector<float> mean(rows * positions, 0.0F);
    const auto count = static_cast<float>(rows);
    std::vector<float> sums(positions), squares(positions);
    for (std::size_t head = 0; head < weights.heads; ++head) {
        const auto rowAt = [&](std::size_t row) {
            return std::span(weights.rows).subspan((row * weights.heads + head) * weights.positions, positions);
        };
        std::ranges::fill(sums, 0.0F);
        std::ranges::fill(squares, 0.0F);
        for (std::size_t row = 0; row < rows; ++row) {
            const auto values = rowAt(row);
            for (std::size_t i = 0; i < positions; ++i) {
                sums[i] += values[i];
                squares[i] += values[i] * values[i];
            }
        }
        for (std::size_t row = 0; row < rows; ++row) {
            const auto values = rowAt(row);
            for (std::size_t i = 0; i < positions; ++i) {
                const float average = sums[i] / count;
                const float deviation = std::sqrt(std::max(squares[i] / count - average * average, 1e-12F));
                mean[row * positions + i] += (values[i] - average) / deviation / static_cast<float>(weights.heads);
            }
        }
    }
    return mean;
}

/// Each value replaced by the median of its surroundings in its row; the row's ends are mirrored.
void medianFilter(std::span<float> row) {
    if (row.size() < medianWidth) return;
    const std::vector<float> original(row.begin(), row.end());
    constexpr auto half = static_cast<std::ptrdiff_t>(medianWidth / 2);
    const auto last = static_cast<std::ptrdiff_t>(row.size()) - 1;
    for (std::ptrdiff_t i = 0; i <= last; ++i) {
        std::array<float, medianWidth> near{};
        for (std::ptrdiff_t k = -half; k <= half; ++k) {
            const auto index = std::abs(i + k);
            near[static_cast<std::size_t>(k + half)] =
                original[static_cast<std::size_t>(index > last ? 2 * last - index : index)];
        }
        std::ranges::nth_element(near, near.begin() + half);
        row[static_cast<std::size_t>(i)] = near[static_cast<std::size_t>(half)];
    }
}

void limitDurations(std::vector<WordTiming>& words) {
    std::vector<float> durations;
    for (const auto& word : words)
        if (word.end > word.start) durations.push_back(word.end - word.start);
    if (durations.empty()) return;
    const auto middle = durations.begin() + static_cast<std::ptrdiff_t>(durations.size() / 2);
    std::ranges::nth_element(durations, middle);
    const float longest = std::max(shortestLimit, longestWordRatio * *middle);
    // The first word is the end of whatever silence came before it, if no time token held that.
    words.front().start = std::max(words.front().start, words.front().end - longest);
    for (auto& word : words)
        word.end = std::min(word.end, word.start + longest);
}

} // namespace

std::vector<std::size_t> warpedStarts(std::span<const float> cost, std::size_t rows, std::size_t columns) {
    if (rows == 0 || columns == 0 || cost.size() != rows * columns) throw SpeechError("Invalid alignment matrix shape");
    enum Step : std::uint8_t { diagonal, down, right };
    std::vector<Step> steps(rows * columns, diagonal);
    std::vector<float> previous(columns), current(columns);
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            constexpr float none = std::numeric_limits<float>::infinity();
            const float fromDiagonal = row > 0 && column > 0 ? previous[column - 1] : none;
            const float fromAbove = row > 0 ? previous[column] : none;
            const float fromLeft = column > 0 ? current[column - 1] : none;
            float best = fromDiagonal;
            Step step = diagonal;
            if (fromAbove < best) best = fromAbove, step = down;
            if (fromLeft < best) best = fromLeft, step = right;
            const bool isStart = row == 0 && column == 0;
            current[column] = cost[row * columns + column] + (isStart ? 0.0F : best);
            steps[row * columns + column] = step;
        }
        std::swap(previous, current);
    }
    std::vector<std::size_t> starts(rows, 0);
    std::size_t row = rows - 1, column = columns - 1;
    while (row > 0 || column > 0) {
        starts[row] = column;
        const Step step = steps[row * columns + column];
        if (step != right) --row;
        if (step != down) --column;
    }
    starts[0] = 0;
    return starts;
}

std::vector<std::pair<std::size_t, std::size_t>> wordRanges(std::span<const int> tokens, const Tokenizer& tokenizer,
                                                            std::string_view language) {
    const bool hasBlanks = std::ranges::find(languagesWithoutBlanks, language) == languagesWithoutBlanks.end();
    std::vector<std::pair<std::size_t, std::size_t>> ranges;
    for (std::size_t begin = 0; begin < tokens.size();) {
        // A character may be spread over several tokens.
        std::size_t end = begin + 1;
        std::string text = tokenizer.decodeBytes(tokens.subspan(begin, 1));
        while (end < tokens.size() && !isValidUtf8(text))
            text += tokenizer.decodeBytes(tokens.subspan(end++, 1));
        const auto bare = trimmed(text);
        const bool isMark = !bare.empty() && appendedMarks.find(bare) != std::string_view::npos;
        const bool startsWord = !hasBlanks || text.starts_with(' ');
        if (ranges.empty() || (startsWord && !isMark))
            ranges.emplace_back(begin, end);
        else
            ranges.back().second = end;
        begin = end;
    }
    return ranges;
}

std::vector<WordTiming> alignedWords(const DecodingResult& result, const Tokenizer& tokenizer, std::size_t positions) {
    const auto& weights = result.alignment;
    std::vector<std::size_t> rowOf;
    std::vector<int> tokens;
    for (std::size_t i = 0; i < result.tokens.size(); ++i) {
        if (result.tokens[i] >= tokenizer.special().specialTokenBegin) continue;
        rowOf.push_back(i);
        tokens.push_back(result.tokens[i]);
    }
    if (tokens.empty()) return {};
    const std::size_t row = weights.heads * weights.positions;
    if (row == 0 || weights.rows.size() < result.tokens.size() * row || positions == 0)
        throw SpeechError("Invalid shape in alignmentWeights");
    positions = std::min(positions, weights.positions);
    // Time tokens and the end token take part: they hold the pauses, which are no word's.
    const std::size_t rows = std::min(result.tokens.size() + 1, weights.rows.size() / row);
    auto cost = meanAttention(weights, rows, positions);
    for (std::size_t i = 0; i < rows; ++i)
        medianFilter(std::span(cost).subspan(i * positions, positions));
    for (float& value : cost)
        value = -value;
    auto starts = warpedStarts(cost, rows, positions);
    starts.resize(result.tokens.size() + 1, positions);

    std::vector<WordTiming> words;
    for (const auto& [begin, end] : wordRanges(tokens, tokenizer, result.language)) {
        WordTiming word{.tokens = {tokens.begin() + static_cast<std::ptrdiff_t>(begin),
                                   tokens.begin() + static_cast<std::ptrdiff_t>(end)},
                        .start = static_cast<float>(starts[rowOf[begin]]) * secondsPerPosition,
                        .end = static_cast<float>(starts[rowOf[end - 1] + 1]) * secondsPerPosition};
        word.word = tokenizer.decode(word.tokens);
        for (std::size_t i = begin; i < end; ++i)
            word.probability += std::exp(result.tokenLogProbs[rowOf[i]]);
        word.probability /= static_cast<float>(end - begin);
        words.push_back(std::move(word));
    }
    limitDurations(words);
    return words;
}

} // namespace tavrin
