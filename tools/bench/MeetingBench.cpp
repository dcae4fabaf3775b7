#include "bench/MeetingGrowth.h"
#include "bench/MeetingStages.h"
#include "bench/Report.h"
#include "support/log/Log.h"

#include <QApplication>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

/// tavrin-meeting-bench FOLDER FIGURES: what a meeting costs, with files below FOLDER. What was measured from outside,
/// on the real program, stands in the file FIGURES and comes into the same report. A line is one of
///   figure|NAME|VALUE|PLACES|UNIT
///   bar|NAME|VALUE|MOST|PLACES|UNIT

namespace tavrin {

namespace {

void takeOver(const std::string& line, Report& report) {
    std::vector<std::string> parts;
    std::istringstream stream(line);
    for (std::string part; std::getline(stream, part, '|');)
        parts.push_back(part);
    if (parts.size() == 5 && parts[0] == "figure")
        report.figure(parts[1], std::stod(parts[2]), std::stoi(parts[3]), parts[4]);
    else if (parts.size() == 6 && parts[0] == "bar")
        report.bar(parts[1], std::stod(parts[2]), std::stod(parts[3]), std::stoi(parts[4]), parts[5]);
    else
        throw std::runtime_error("no figure: " + line);
}

bool measure(const std::filesystem::path& folder, const std::string& figures) {
    Report report(std::cout);
    std::ifstream file(figures);
    if (!file) throw std::runtime_error(figures + " cannot be read");
    for (std::string line; std::getline(file, line);)
        takeOver(line, report);
    // In this order: what the stages held and gave back must not hide what the hour gains.
    measureMeetingGrowth(folder / "hour", report);
    measureMeetingStages(folder / "stages", report);
    return report.finish();
}

} // namespace

} // namespace tavrin

int main(int count, char** arguments) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(count, arguments);
    if (count != 3) {
        std::cerr << "usage: tavrin-meeting-bench FOLDER FIGURES\n";
        return 2;
    }
    tavrin::setLogLevel(tavrin::LogLevel::error);
    try {
        return tavrin::measure(std::filesystem::absolute(arguments[1]), arguments[2]) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::cerr << "tavrin-meeting-bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
