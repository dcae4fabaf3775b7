#include "bench/LiveLanes.h"
#include "bench/SpokenMaterial.h"
#include "bench/WordErrors.h"
#include "demo/Lanes.h"
#include "platform/onnx/OnnxModelRuntime.h"

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

/// A busy machine's sound server drops a piece now and then before we hear it: a thousandth is let pass.
constexpr std::size_t lostShare = 1'000;
constexpr double mostClickMilliseconds = 40;

std::string textOf(const char* file) {
    std::ifstream stream(file);
    if (!stream) throw std::runtime_error(std::string("cannot read ") + file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// LABEL SAID HEARD WAY BASELINE POINTS PLAYED RECORDED: the baseline was heard by another way; so many points more
/// of errors are let pass.
bool judgeLane(char** argument) {
    const std::string said = textOf(argument[1]);
    const WordErrors live = wordErrors(said, textOf(argument[2]));
    const WordErrors baseline = wordErrors(said, textOf(argument[4]));
    const LaneComparison sound = compareLane(readSamples(argument[6]), readSamples(argument[7]));
    const bool isHeard = live.percent() <= baseline.percent() + std::atof(argument[5]);
    const bool isWhole = sound.lost <= sound.playedLoud / lostShare;
    std::printf("  %-5s word errors %.1f %% of %zu words (%s: %.1f %%)%s; lost samples %zu of %zu%s\n", argument[0],
                live.percent(), live.words, argument[3], baseline.percent(), isHeard ? "" : "  TOO MANY", sound.lost,
                sound.playedLoud, isWhole ? "" : "  LOST");
    return isHeard && isWhole && live.words > 0;
}

/// PACK FILE: prints what a meeting's lines are where only this is heard.
bool printLive(char** argument) {
    OnnxModelRuntime runtime;
    const SpeechModels models(runtime, argument[0], 2);
    LiveLanes lanes(chunkTranscriber(models));
    lanes.play(soundOf(argument[1]), {});
    for (const TranscriptSegment& line : lanes.lines())
        std::printf("%s\n", line.text.c_str());
    return !lanes.lines().empty();
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
    if (what == "lane" && count == 10) return judgeLane(arguments + 2) ? EXIT_SUCCESS : EXIT_FAILURE;
    if (what == "live" && count == 4) return printLive(arguments + 2) ? EXIT_SUCCESS : EXIT_FAILURE;
    if (what == "clicks" && count == 5) return judgeClicks(arguments + 2) ? EXIT_SUCCESS : EXIT_FAILURE;
    if (what == "echo" && count == 5) return judgeEcho(arguments + 2) ? EXIT_SUCCESS : EXIT_FAILURE;
    throw std::runtime_error(
        "lane LABEL SAID HEARD WAY BASELINE POINTS PLAYED RECORDED, live PACK FILE, echo OWN OTHER "
        "LINES, or clicks COUNT ME THEM");
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
