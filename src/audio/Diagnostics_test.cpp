#include "audio/DiagnosticsLogger.h"
#include "support/async/VirtualTime.h"
#include "support/files/MemoryFolder.h"
#include "support/json/Json.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using Handoff = DiagnosticsCaptureFrameCounter::Handoff;

const std::string path = "TavrinAssistant/Diagnostics/M-1-diagnostics.json";

class DiagnosticsTest : public testing::Test {
protected:
    DiagnosticsTest() { logger = newLogger(); }

    std::unique_ptr<DiagnosticsLogger> newLogger() {
        return std::make_unique<DiagnosticsLogger>(
            folder, queue, time.wallClock(), time.steadyClock(),
            DiagnosticsMemory{.residentMB = [this] { return residentMB; }, .pressureLevel = [this] { return level; }});
    }
    std::string text() { return folder.info(path) ? folder.read(path, Folder::noLimit) : ""; }
    Json events() { return parseJson(text(), "diagnostics"); }
    std::vector<std::string> notes() {
        std::vector<std::string> found;
        for (const Json& event : events())
            if (const auto note = stringAt(event, "note")) found.push_back(*note);
        return found;
    }

    LogCapture logged;
    VirtualTime time;
    MemoryFolder folder;
    Executor& queue = time.addExecutor();
    double residentMB = 100.5;
    std::optional<std::string> level;
    std::unique_ptr<DiagnosticsLogger> logger;
};

TEST_F(DiagnosticsTest, a_meeting_becomes_an_array_of_its_events_in_order) {
    DiagnosticsCaptureFrameCounter lane;
    logger->startMeeting("M-1");
    time.advance(1s);
    logger->countFrames(8'000, lane);
    time.advance(1s);
    logger->countFrames(8'000, lane);
    logger->log("chunk_emit label=Me");
    logger->logResult("secret words", "Them", 0.5, 2);
    time.advance(3s);
    level = "critical";
    residentMB = -1;
    time.advance(5s);
    logger->endMeeting();
    time.runUntilIdle();
    const std::vector<std::string> expected{
        R"({"timestamp":0.0,"wallClock":"2026-05-09T06:13:20.000Z","kind":"lifecycle","note":"meeting_start"})",
        R"({"timestamp":1.0,"wallClock":"2026-05-09T06:13:21.000Z","kind":"frames","audioFramesReceived":4000,"audioFramesDropped":0,"bufferFillRatio":1.0})",
        R"({"timestamp":2.0,"wallClock":"2026-05-09T06:13:22.000Z","kind":"frames","audioFramesReceived":8000,"audioFramesDropped":12000,"bufferFillRatio":1.0})",
        R"({"timestamp":2.0,"wallClock":"2026-05-09T06:13:22.000Z","kind":"event","note":"chunk_emit label=Me"})",
        R"({"timestamp":2.0,"wallClock":"2026-05-09T06:13:22.000Z","kind":"transcript","transcriptStart":0.5,"transcriptEnd":2.0,"transcriptText":"secret words","speakerLabel":"Them"})",
        R"({"timestamp":5.0,"wallClock":"2026-05-09T06:13:25.000Z","kind":"memory","residentMemoryMB":100.5})",
        R"({"timestamp":10.0,"wallClock":"2026-05-09T06:13:30.000Z","kind":"memory","residentMemoryMB":-1.0})",
        R"({"timestamp":10.0,"wallClock":"2026-05-09T06:13:30.000Z","kind":"memory","memoryPressureLevel":"critical"})",
        R"({"timestamp":10.0,"wallClock":"2026-05-09T06:13:30.000Z","kind":"lifecycle","note":"meeting_end"})"};
    std::vector<std::string> lines;
    for (const Json& event : events())
        lines.push_back(compactText(event));
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(time.pendingJobs(), 0U);
    EXPECT_TRUE(logged.contains("chunk_emit label=Me"));
    EXPECT_FALSE(logged.contains("secret"));
}

TEST_F(DiagnosticsTest, the_cost_of_writing_grows_with_the_events_and_not_with_their_square) {
    DiagnosticsCaptureFrameCounter lane;
    logger->startMeeting("M-1");
    time.runUntilIdle();
    const std::size_t before = folder.stepCount();
    for (int i = 0; i < 20'000; ++i) {
        time.advance(50ms);
        logger->countFrames(1'600, lane);
    }
    time.runUntilIdle();
    EXPECT_LE(folder.stepCount() - before, 1'000U / 2 + 20); // one write every two seconds at most
    EXPECT_GE(text().size(), 19'000U * 100);
    logger->endMeeting();
    time.runUntilIdle();
    EXPECT_EQ(events().size(), 1U + 20'000 + 200 + 1);
}

TEST_F(DiagnosticsTest, a_disk_that_fails_is_logged_once_and_costs_nothing_that_four_megabytes_hold) {
    folder.limitCapacity(0);
    logger->startMeeting("M-1");
    for (int i = 0; i < 100; ++i) {
        logger->log("note " + std::to_string(i));
        time.advance(1s);
    }
    EXPECT_THAT(logged.lines(), Contains(HasSubstr("flush failed")).Times(1));
    folder.limitCapacity(std::nullopt);
    logger.reset(); // ends the meeting
    time.runUntilIdle();
    EXPECT_EQ(notes().size(), 102U);

    folder.limitCapacity(0);
    logger = newLogger();
    logger->startMeeting("M-1");
    for (int i = 0; i < 5; ++i)
        logger->log(std::string(1'000'000, 'x'));
    time.runUntilIdle();
    folder.limitCapacity(std::nullopt);
    logger->log("last");
    logger->endMeeting();
    time.runUntilIdle();
    EXPECT_THAT(notes(), ElementsAre("diagnostics_lost events=6", "last", "meeting_end"));
}

TEST_F(DiagnosticsTest, an_array_that_a_crash_cut_anywhere_is_closed_by_the_next_logger) {
    logger->startMeeting("M-1");
    logger->log("one, two],");
    logger->log("three");
    logger->endMeeting();
    time.runUntilIdle();
    const std::string whole = text();
    std::size_t most = 0;
    for (std::size_t size = 1; size <= whole.size(); ++size) {
        folder.writeAtomically(path, whole.substr(0, size));
        newLogger();
        time.runUntilIdle();
        const Json left = events();
        ASSERT_GE(left.size(), most) << size;
        most = left.size();
        for (std::size_t i = 0; i < left.size(); ++i)
            ASSERT_EQ(left[i], Json::parse(whole)[i]);
    }
    EXPECT_EQ(most, 4U);
    EXPECT_EQ(text(), whole);
}

TEST(DiagnosticsCaptureFrameCounter, counts_what_is_missing_since_the_chunk_before) {
    DiagnosticsCaptureFrameCounter counter;
    const SteadyInstant start{10s};
    EXPECT_EQ(counter.count(8'000, start), (Handoff{4'000, 0, 1}));
    EXPECT_EQ(counter.count(8'000, start + 1s), (Handoff{4'000, 12'000, 1}));
    EXPECT_EQ(counter.count(16'000, start + 1'100ms), (Handoff{8'000, 0, 1}));
    for (int i = 0; i < 1'000; ++i) // silence in place of what was lost
        EXPECT_EQ(counter.count(8'000, start + 1'101ms), std::nullopt);
    EXPECT_EQ(counter.count(8'000, start + 1'350ms), (Handoff{4'004'000, 0, 1}));
    counter.restart();
    EXPECT_EQ(counter.count(2'000, start + 1h), (Handoff{1'000, 0, 0.25}));
}

TEST(DiagnosticsMemory, is_read_from_the_texts_of_the_kernel_and_tells_when_it_cannot) {
    EXPECT_EQ(DiagnosticsMemory::residentMBOf("5000 512 300 1 0 99 0\n", 4'096), 2);
    for (const char* bad : {"", "5000", "5000 ", "5000 x"})
        EXPECT_EQ(DiagnosticsMemory::residentMBOf(bad, 4'096), -1) << bad;
    const auto levelOf = [](const std::string& some, const std::string& full) {
        return DiagnosticsMemory::levelOf("some avg10=" + some + " avg60=50 avg300=0.00 total=1\nfull avg10=" + full +
                                          " avg60=0.00 avg300=0.00 total=0\n");
    };
    EXPECT_EQ(levelOf("0.00", "0.00"), "normal");
    EXPECT_EQ(levelOf("10.00", "9.99"), "warning");
    EXPECT_EQ(levelOf("40.00", "12.5"), "critical");
    EXPECT_EQ(DiagnosticsMemory::levelOf(""), std::nullopt);
    EXPECT_EQ(DiagnosticsMemory::levelOf("some avg10="), std::nullopt);
    EXPECT_GT(DiagnosticsMemory::ofThisProcess().residentMB(), 1);
}

} // namespace
} // namespace tavrin
