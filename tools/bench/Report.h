#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace tavrin {

/// `value` with so many places behind the point.
[[nodiscard]] std::string decimal(double value, int places);

/// Columns of text for a person to read: the first one set left, the others right.
class Table final {
public:
    explicit Table(std::vector<std::string> heads);
    void add(std::vector<std::string> row);
    [[nodiscard]] std::string text() const;

private:
    std::vector<std::vector<std::string>> rows;
};

/// What a benchmark says: tables and remarks at once, then all figures and bars in one block at the end.
class Report final {
public:
    explicit Report(std::ostream& stream) : output(stream) {}

    void heading(const std::string& text);
    void remark(const std::string& text);
    void table(const Table& rows);
    void figure(const std::string& name, double value, int places, const std::string& unit);
    /// A figure that may be at most `most`.
    void bar(const std::string& name, double value, double most, int places, const std::string& unit);

    /// Prints figures and bars. True if every bar was held.
    [[nodiscard]] bool finish();

private:
    std::ostream& output;
    Table figures{{"figure", "value", "unit"}};
    Table bars{{"bar", "measured", "at most", ""}};
    std::size_t barCount = 0, heldCount = 0;
};

} // namespace tavrin
