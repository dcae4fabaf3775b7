#include "support/log/LogCapture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <sstream>
#include <thread>

namespace tavrin {
namespace {

using testing::ElementsAre;

constexpr Logger capture{"capture"};

TEST(Log, an_event_is_one_line_with_category_and_level_and_those_below_the_level_are_dropped) {
    const LogCapture log(LogLevel::info);
    constexpr Logger other{"meeting"};
    capture.debug("chunk {}", 1);
    capture.info("rate {} Hz", 16000);
    other.warning("late by {:.1f} s", 0.25);
    setLogLevel(LogLevel::error);
    capture.warning("hidden");
    other.error("stopped");
    other.error("{}", "a\nfake error: x\x1b[2J\té"); // one event is one line
    setLogLevel(LogLevel::off);
    other.error("hidden");
    EXPECT_THAT(log.lines(), ElementsAre("capture info: rate 16000 Hz", "meeting warning: late by 0.2 s",
                                         "meeting error: stopped", "meeting error: a\\nfake error: x\\x1b[2J\\x09é"));
}

TEST(Log, lines_of_several_threads_do_not_mix_and_a_percent_sign_is_none_of_the_formats_own) {
    testing::internal::CaptureStderr();
    setLogFormat(LogFormat::journal);
    {
        const auto logMuch = [] {
            for (int i = 0; i < 200; ++i)
                capture.warning("100%v {}", std::string(100, 'x'));
        };
        const std::array threads{std::jthread(logMuch), std::jthread(logMuch), std::jthread(logMuch)};
    }
    setLogFormat(LogFormat::plain);
    std::istringstream lines(testing::internal::GetCapturedStderr());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        ASSERT_EQ(line, "<4>so.tavrin.TavrinAssistant [capture] 100%v " + std::string(100, 'x'));
    EXPECT_EQ(count, 600);
}

TEST(Log, the_journal_is_recognised_by_its_file) {
    struct stat file{};
    ASSERT_EQ(fstat(STDIN_FILENO, &file), 0);
    const std::string here = std::to_string(file.st_dev) + ":" + std::to_string(file.st_ino);
    EXPECT_TRUE(journalListens(here, STDIN_FILENO));
    for (const std::string& other : {here + "1", std::string(), std::string("x"), std::string(100, '1')})
        EXPECT_FALSE(journalListens(other, STDIN_FILENO));
    EXPECT_FALSE(journalListens(here, -1));
}

} // namespace
} // namespace tavrin
