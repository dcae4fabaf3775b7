#include "bench/Report.h"

#include "support/text/Unicode.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ostream>

namespace tavrin {

std::string decimal(double value, int places) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", places, value);
    return text.data();
}

Table::Table(std::vector<std::string> heads) {
    rows.push_back(std::move(heads));
}

void Table::add(std::vector<std::string> row) {
    row.resize(rows.front().size());
    rows.push_back(std::move(row));
}

std::string Table::text() const {
    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], characterCount(row[i]));
    std::string result;
    for (const auto& row : rows) {
        std::string line = "  ";
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - characterCount(row[i]), ' ');
            line += i == 0 ? row[i] + padding : "   " + padding + row[i];
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result += line + '\n';
        if (&row == &rows.front()) {
            std::size_t width = 3 * (widths.size() - 1);
            for (const std::size_t one : widths)
                width += one;
            result += "  " + std::string(width, '-') + '\n';
        }
    }
    return result;
}

void Report::heading(const std::string& text) {
    output << '\n' << text << "\n\n" << std::flush;
}

void Report::remark(const std::string& text) {
    output << "  " << text << '\n' << std::flush;
}

void Report::table(const Table& rows) {
    output << rows.text() << std::flush;
}

void Report::figure(const std::string& name, double value, int places, const std::string& unit) {
    figures.add({name, decimal(value, places), unit});
}

void Report::bar(const std::string& name, double value, double most, int places, const std::string& unit) {
    // Not a number is not held.
    const bool isHeld = value <= most;
    ++barCount;
    heldCount += isHeld ? 1 : 0;
    const std::string suffix = unit.empty() ? "" : " " + unit;
    bars.add({name, decimal(value, places) + suffix, decimal(most, places) + suffix, isHeld ? "held" : "NOT held"});
}

bool Report::finish() {
    heading("figures");
    table(figures);
    heading("bars");
    table(bars);
    output << '\n' << heldCount << " of " << barCount << " bars held\n" << std::flush;
    return heldCount == barCount;
}

} // namespace tavrin
