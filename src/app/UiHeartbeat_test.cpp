#include "app/UiHeartbeat.h"
#include "support/files/TemporaryFolderTestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>
#include <chrono>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>

namespace tavrin {
namespace {

using std::chrono::milliseconds;

/// What a heartbeat tells of a loop of 100 ms that does `work` in the middle.
std::map<std::string, double> toldOf(const std::function<void()>& work) {
    int count = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    QCoreApplication application(count, arguments);
    const TemporaryFolder disk;
    const std::filesystem::path file = disk.path() / "heartbeat.txt";
    {
        const UiHeartbeat heartbeat(QString::fromStdString(file.string()));
        QTimer::singleShot(milliseconds(50), &application, work);
        QTimer::singleShot(milliseconds(100), &application, &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    std::map<std::string, double> told;
    std::ifstream in(file);
    for (std::string key; in >> key;)
        in >> told[key];
    return told;
}

TEST(UiHeartbeat, counts_whatever_keeps_the_loop_and_no_sleep_that_it_asked_for) {
    auto told = toldOf([] { std::this_thread::sleep_for(milliseconds(300)); });
    EXPECT_GE(told["longest_turn_ms"], 300);
    EXPECT_GE(told["worst_gap_ms"], 300);
    told = toldOf([] {});
    EXPECT_GT(told["longest_turn_ms"], 0);
    EXPECT_LT(told["longest_turn_ms"], 200);
    EXPECT_GE(told["worst_gap_ms"], 9);
}

} // namespace
} // namespace tavrin
