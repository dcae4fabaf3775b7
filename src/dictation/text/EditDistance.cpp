#include "dictation/text/EditDistance.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace tavrin {

namespace {

using Row = std::vector<std::size_t>;

/// From the distances of no letter of `a` to each beginning of `b` those of all its letters.
Row lastRow(std::u32string_view a, std::u32string_view b, Row row) {
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
        }
    }
    return row;
}

} // namespace

std::size_t editDistance(std::u32string_view a, std::u32string_view b) {
    Row row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    return lastRow(a, b, std::move(row)).back();
}

std::size_t distanceToPiece(std::u32string_view piece, std::u32string_view whole) {
    return std::ranges::min(lastRow(piece, whole, Row(whole.size() + 1)));
}

} // namespace tavrin
