#include "meeting/TranscriptExport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

namespace tavrin {

namespace {

class TranscriptExport : public testing::Test {
protected:
    TranscriptExport() {
        setenv("TZ", "UTC+3", 1); // west of Greenwich by three hours, whatever the machine says
        tzset();
    }
    ~TranscriptExport() override {
        unsetenv("TZ");
        tzset();
    }

    static TranscriptSegment line(double second, const std::string& speaker, const std::string& text) {
        TranscriptSegment segment;
        segment.speakerLabel = speaker;
        segment.text = text;
        segment.date = Date::fromUnix(noon + second);
        if (speaker != meLabel) segment.themSpeakerIndex = 0;
        return segment;
    }

    static std::string written(const std::vector<TranscriptSegment>& lines, TranscriptFormat format,
                               std::string_view title = "Spring review") {
        return exportTranscript(title, Date::fromUnix(noon), lines, format);
    }

    static constexpr double noon = 1'773'316'800; // 12 March 2026, 12:00:00 UTC
};

TEST_F(TranscriptExport, groups_stand_under_speaker_and_local_time) {
    const std::vector lines{line(10, "Anke", "Morning.\nAll of you."), line(21, "Anke", "Dates first."),
                            line(30, "Me", "Fine.")};
    EXPECT_EQ(written(lines, TranscriptFormat::text),
              "Spring review\nThursday 12 March 2026 · started 09:00\n\n"
              "Anke 09:00:10\nMorning. All of you.\nDates first.\n\nMe 09:00:30\nFine.\n");
    EXPECT_EQ(written(lines, TranscriptFormat::markdown),
              "# Spring review\n\nThursday 12 March 2026 · started 09:00\n\n"
              "**Anke** 09:00:10\n\nMorning. All of you.\n\nDates first.\n\n**Me** 09:00:30\n\nFine.\n");
    EXPECT_EQ(written({}, TranscriptFormat::text, ""),
              "Meeting 12 March 2026, 09:00\nThursday 12 March 2026 · started 09:00\n");
}

TEST_F(TranscriptExport, nothing_that_was_said_becomes_markup) {
    const std::pair<const char*, const char*> cases[] = {
        {"a *b* _c_ `d` [e](f) <b> & | ~g~ \\", "a \\*b\\* \\_c\\_ \\`d\\` \\[e\\](f) \\<b\\> \\& \\| \\~g\\~ \\\\"},
        {"# head", "\\# head"},
        {"- item", "\\- item"},
        {"2. second", "2\\. second"},
        {"2 seconds.", "2 seconds."},
        {"a - b # c 2. d", "a - b # c 2. d"},
        {"> said\n# by", "\\> said # by"}};
    for (const auto& [said, expected] : cases)
        EXPECT_TRUE(written({line(1, "Me", said)}, TranscriptFormat::markdown).ends_with(std::string(expected) + "\n"))
            << said;
    EXPECT_TRUE(written({}, TranscriptFormat::markdown, "a\n# b *c*").starts_with("# a # b \\*c\\*\n"));
}

TEST_F(TranscriptExport, cues_end_with_the_next_line_unless_reading_takes_longer_or_less) {
    const char* sixty = "123456789012345678901234567890123456789012345678901234567890";
    const std::vector lines{line(-5, "Me", "early"),       // before the start: at 0
                            line(2, "Me", sixty),          // 64 characters: 5.3 s and a half and one at the most
                            line(60, "Them", sixty),       // the next comes 1 ms later: 66 characters at the quickest
                            line(60.001, "Me", "At once"), // ends where the next begins
                            line(61.501, "Me", "a --> b"), // the last: its own time
                            line(30, "Me", "out of order")};
    const char* expected =
        "1\n00:00:00,000 --> 00:00:02,000\nMe: early\n\n"
        "2\n00:00:02,000 --> 00:00:08,833\nMe: 123456789012345678901234567890123456789012345678901234567890\n\n"
        "3\n00:01:00,000 --> 00:01:02,640\nThem: 123456789012345678901234567890123456789012345678901234567890\n\n"
        "4\n00:01:00,001 --> 00:01:01,501\nMe: At once\n\n"
        "5\n00:01:01,501 --> 00:01:02,501\nMe: a → b\n\n"
        "6\n00:01:01,501 --> 00:01:04,334\nMe: out of order\n\n";
    EXPECT_EQ(written(lines, TranscriptFormat::srt), expected);
}

TEST_F(TranscriptExport, broken_dates_and_bytes_are_repaired) {
    auto broken = line(0, "M\xFF", "a\xC3(\x01 b");
    for (const double seconds : {std::nan(""), 1e300, -1e300, std::numeric_limits<double>::infinity()}) {
        broken.date = Date(seconds);
        for (const auto format : {TranscriptFormat::text, TranscriptFormat::markdown, TranscriptFormat::srt}) {
            const std::string text = exportTranscript("t", Date(seconds), std::vector{broken}, format);
            EXPECT_TRUE(text.contains("a\uFFFD( b")) << text;
        }
    }
}

TEST_F(TranscriptExport, a_file_name_can_be_used_anywhere) {
    const auto name = [](std::string_view title) {
        return transcriptFileName(title, Date::fromUnix(noon), TranscriptFormat::markdown);
    };
    EXPECT_EQ(name("Spring launch"), "2026-03-12 Spring launch.md");
    EXPECT_EQ(name(""), "2026-03-12 Meeting.md");
    EXPECT_EQ(name("../a/b: \"c\"\n?.. "), "2026-03-12 ..-a-b- -c- -.md");
    std::string umlauts;
    for (int i = 0; i < 300; ++i)
        umlauts += "ü";
    EXPECT_LE(name(umlauts).size(), 130U);
    EXPECT_TRUE(name(umlauts).ends_with("ü.md"));
}

} // namespace

} // namespace tavrin
