#include "transcribe/ProgressLine.h"

#include "transcribe/TranscriptWriter.h"

#include <unistd.h>

#include <ostream>

namespace tavrin {

ProgressLine::ProgressLine(std::ostream& stream, std::string file, std::optional<double> totalSeconds)
    : output(stream), name(std::move(file)), total(totalSeconds), isTerminal(isatty(STDERR_FILENO) == 1) {}

void ProgressLine::show(double seconds) {
    if (!isTerminal || (isShown && static_cast<int>(seconds) == shownSecond)) return;
    clear();
    output << name << ": " << clockText(seconds, '.').substr(0, 8);
    if (total && *total > 0)
        output << " of " << clockText(*total, '.').substr(0, 8) << " (" << static_cast<int>(100 * seconds / *total)
               << " %)";
    output.flush();
    isShown = true;
    shownSecond = static_cast<int>(seconds);
}

void ProgressLine::clear() {
    if (!isShown) return;
    output << "\r\033[K";
    output.flush();
    isShown = false;
}

} // namespace tavrin
