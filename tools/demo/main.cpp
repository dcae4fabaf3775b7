#include "bench/WordErrors.h"
#include "demo/Lanes.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {
namespace {

constexpr double mostAddedErrors = 5; // points above the same words from the file
/// A busy machine's sound server drops a piece now and then before we hear it: a thousandth is let pass.
constexpr std::size_t lostShare = 1'000;
constexpr double mostClickMilliseconds = 40;

std::string textOf(const char* file) {
    std::ifstream stream(file);
    if (!stream) throw std::runtime_error(std::string("cannot read ") + file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// LABEL SAID HEARD BASELINE PLAYED RECORDED
bool judgeLane(char** argument) {
    const std::string said = textOf(argument[1]);
    const WordErrors live = wordErrors(said, textOf(argument[2]));
    const WordErrors file = wordErrors(said, textOf(argument[3]));
    const LaneComparison sound = compareLane(readSamples(argument[4]), readSamples(argument[5]));
    const bool isHeard = live.percent() <= file.percent() + mostAddedErrors;
    const bool isWhole = sound.lost <= sound.playedLoud / lostShare;
    std::printf(
        "  %-5s word errors %.1f %% of %zu words (the same sound as a file: %.1f %%)%s; lost samples %zu of %zu%s\n",
        argument[0], live.percent(), live.words, file.percent(), isHeard ? "" : "  TOO MANY", sound.lost,
        sound.playedLoud, isWhole ? "" : "  LOST");
    return isHeard && isWhole && live.words > 0;
}

/// OWN OTHER LINES: no line of Me may be of words that the other side said.
bool judgeEcho(char** argument) {
    const std::string own = textOf(argument[0]), other = textOf(argument[1]);
    std::ifstream lines(argument[2]);
    std::size_t count = 0, foreign = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        if (!isSaidBy(other, own, line)) continue;
        ++foreign;
        std::printf("  not said by Me: %s\n", line.c_str());
    }
    std::printf("  lines of Me %zu, of those said by the other side %zu%s\n", count, foreign,
                foreign == 0 ? "" : "  ECHO");
    return foreign == 0 && count > 0;
}

/// COUNT ME THEM: the same clicks in both lanes.
bool judgeClicks(char** argument) {
    const auto expected = static_cast<std::size_t>(std::atol(argument[0]));
    const auto me = findClicks(readSamples(argument[1]));
    const auto them = findClicks(readSamples(argument[2]));
    if (me.size() != expected || them.size() != expected) {
        std::printf("  clicks: %zu and %zu heard of %zu\n", me.size(), them.size(), expected);
        return false;
    }
    bool isFine = true;
    for (std::size_t i = 0; i < expected; ++i) {
        const double apart = (static_cast<double>(me[i]) - static_cast<double>(them[i])) / 16;
        isFine &= std::abs(apart) <= mostClickMilliseconds;
        std::printf("  click at %.1f s: the lanes are %.1f ms apart\n", static_cast<double>(them[i]) / 16'000, apart);
    }
    return isFine;
}

int run(int count, char** arguments) {
    const std::string_view what = count > 1 ? arguments[1] : "";
    if (what == "lane" && count == 8) return judgeLane(arguments + 2) ? EXIT_SUCCESS : EXIT_FAILURE;
    if (what == "clicks" && count == 5) return judgeClicks(arguments + 2) ? EXIT_SUCCESS : EXIT_FAILURE;
    if (what == "echo" && count == 5) return judgeEcho(arguments + 2) ? EXIT_SUCCESS : EXIT_FAILURE;
    throw std::runtime_error(
        "lane LABEL SAID HEARD BASELINE PLAYED RECORDED, echo OWN OTHER LINES, or clicks COUNT ME THEM");
}

} // namespace
} // namespace tavrin

int main(int count, char** arguments) {
    try {
        return tavrin::run(count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tavrin-demo-judge: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
