#pragma once

#include <iosfwd>
#include <optional>
#include <string>

namespace tavrin {

/// A line on the terminal that tells how far a file has been read. Silent where standard error is no terminal.
class ProgressLine final {
public:
    ProgressLine(std::ostream& stream, std::string file, std::optional<double> totalSeconds);
    void show(double seconds);
    void clear();

private:
    std::ostream& output;
    std::string name;
    std::optional<double> total;
    bool isTerminal;
    bool isShown = false;
    int shownSecond = -1;
};

} // namespace tavrin
