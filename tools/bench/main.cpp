#include "bench/AccuracyBench.h"
#include "bench/EchoBench.h"
#include "bench/GrowthBench.h"
#include "bench/LaneBench.h"
#include "bench/QuietBench.h"
#include "bench/Report.h"
#include "bench/SpeedBench.h"
#include "bench/TextBench.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <stdexcept>
#include <vector>

namespace tavrin {

namespace {

constexpr std::string_view usage =
    R"(Usage: tavrin-bench accuracy --pack FOLDER --full FOLDER --speech FOLDER --sentences FILE
       tavrin-bench speech   --pack FOLDER --limits FOLDER --speech FOLDER --sentences FILE
       tavrin-bench lane     --pack FOLDER --speech FOLDER --sentences FILE
       tavrin-bench quiet    --pack FOLDER --speech FOLDER --sentences FILE
       tavrin-bench echo     --pack FOLDER --speech FOLDER --sentences FILE
       tavrin-bench growth   --pack FOLDER --speech FOLDER --sentences FILE [--long]
       tavrin-bench text

The exit status is 1 if a bar is not held or something fails, 2 if the arguments make no sense.
)";

/// Arguments that make no sense.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Arguments {
public:
    explicit Arguments(const std::vector<std::string>& words) {
        if (words.empty()) throw UsageError("nothing to measure");
        for (std::size_t i = 1; i < words.size(); ++i) {
            if (!words[i].starts_with("--")) throw UsageError("unknown argument \"" + words[i] + "\"");
            if (words[i] == "--long")
                isLong = true;
            else if (i + 1 == words.size())
                throw UsageError(words[i] + " takes a value");
            else {
                values[words[i]] = words[i + 1];
                ++i;
            }
        }
    }
    [[nodiscard]] std::string path(const std::string& name) const {
        const auto found = values.find(name);
        if (found == values.end()) throw UsageError(name + " is missing");
        return found->second;
    }
    bool isLong = false;

private:
    std::map<std::string, std::string> values;
};

/// Times are only worth something on an idle machine.
void warnOfLoad(Report& report) {
    double load = 0;
    if (getloadavg(&load, 1) != 1) return;
    report.remark("load of the machine before: " + decimal(load, 1) +
                  (load >= 1 ? ". Others compute now: times are too long and ratios not to be trusted." : ""));
}

bool measure(const std::string& what, const Arguments& arguments) {
    Report report(std::cout);
    warnOfLoad(report);
    if (what == "text") {
        measureText(report);
        return report.finish();
    }
    const std::filesystem::path pack = arguments.path("--pack"), speech = arguments.path("--speech"),
                                sentences = arguments.path("--sentences");
    if (what == "accuracy")
        measureAccuracy({pack, arguments.path("--full"), speech, sentences}, report);
    else if (what == "speech")
        measureSpeed({pack, arguments.path("--limits"), speech, sentences}, report);
    else if (what == "growth")
        measureGrowth({pack, speech, sentences, arguments.isLong}, report);
    else if (what == "lane")
        measureLane({pack, speech, sentences}, report);
    else if (what == "quiet")
        measureQuiet({pack, speech / "noise"}, report);
    else if (what == "echo")
        measureEcho({pack, speech, sentences}, report);
    else
        throw UsageError("unknown benchmark \"" + what + "\"");
    return report.finish();
}

} // namespace

} // namespace tavrin

int main(int count, char** arguments) {
    try {
        const std::vector<std::string> words(arguments + 1, arguments + count);
        const tavrin::Arguments parsed(words);
        return tavrin::measure(words.front(), parsed) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const tavrin::UsageError& error) {
        std::cerr << "tavrin-bench: " << error.what() << '\n' << tavrin::usage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "tavrin-bench: " << error.what() << '\n';
    }
    return EXIT_FAILURE;
}
