#include "meeting/TranscriptPersistence.h"
#include "support/async/SerialExecutor.h"
#include "support/async/TaskTestSupport.h"
#include "support/files/FileError.h"
#include "support/files/MemoryFolder.h"
#include "support/log/LogCapture.h"

#include <cerrno>
#include <thread>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string id = "7B0F2C3A-0000-4000-8000-00000000ABCD";

std::string textOf(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A tenth of a second of sound, each piece with bytes of its own.
std::string soundPiece(int number) {
    return std::string(3'200, static_cast<char>('a' + number % 26));
}

PersistedTranscriptSegment segmentNamed(const std::string& text) {
    return {.speakerLabel = "Me", .text = text, .date = Date(800'000'000.25)};
}

class PersistenceTest : public TaskTest {
protected:
    void open() {
        store = std::make_unique<TranscriptPersistence>(folder, id, time.main(), storage,
                                                        [this](bool cannotSave) { told.push_back(cannotSave); });
    }
    /// Tenths of a second of sound; gives it back.
    std::string hear(int first, int count) {
        std::string given;
        for (int piece = first; piece < first + count; ++piece) {
            append(soundPiece(piece));
            given += soundPiece(piece);
            time.advance(100ms);
        }
        return given;
    }
    void append(std::string_view pcm) { store->micPCM()->append(std::as_bytes(std::span(pcm))); }
    std::string onDisk(const std::string& path) { return folder.info(path) ? folder.read(path, Folder::noLimit) : ""; }

    template <class T>
    T resultOf(Task<T> task) {
        std::optional<T> result;
        tasks->spawn([](Task<T> work, std::optional<T>& to) -> Task<void> {
            to = co_await std::move(work);
        }(std::move(task), result));
        time.runUntil([&] { return result.has_value(); }, 10s);
        return result.value();
    }
    std::string readBack(std::int64_t start, std::optional<std::int64_t> end) {
        return textOf(resultOf(store->micPCM()->read(start, end)));
    }
    std::vector<std::string> loadedTexts() {
        std::vector<std::string> texts;
        for (const auto& segment : resultOf(store->loadSegments()))
            texts.push_back(segment.text);
        return texts;
    }

    LogCapture quiet;
    MemoryFolder folder;
    Executor& storage = time.addExecutor();
    std::unique_ptr<TranscriptPersistence> store;
    std::vector<bool> told;
};

TEST_F(PersistenceTest, opening_makes_the_folder_and_no_file_and_refuses_an_id_that_leads_elsewhere) {
    open();
    time.advance(5s);
    EXPECT_THAT(folder.list("TavrinAssistant/Recordings"), IsEmpty());
    for (const char* bad : {"", "..", "../x", "a/b", "a b", "."})
        EXPECT_THROW(TranscriptPersistence(folder, bad, time.main(), storage), FileError) << bad;
    folder.failNext(MemoryFolder::Step::read, EIO);
    EXPECT_THROW(open(), FileError);
}

TEST_F(PersistenceTest, samples_are_counted_at_once_and_read_by_range_from_disk_and_memory) {
    open();
    append("aabbccdd");
    EXPECT_EQ(store->micPCM()->sampleCount(), 4U);
    time.advance(2s);
    folder.limitCapacity(8);
    append("eeff");
    const std::vector<std::tuple<std::int64_t, std::optional<std::int64_t>, std::string>> table{
        {0, std::nullopt, "aabbccddeeff"},
        {-5, 2, "aabb"},
        {3, 5, "ddee"},
        {5, std::nullopt, "ff"},
        {6, 9, ""},
        {4, 1, ""},
        {-9, -1, ""},
        {4, 1LL << 62, "eeff"}};
    for (const auto& [start, end, expected] : table)
        EXPECT_EQ(readBack(start, end), expected) << start << " " << end.value_or(-1);
}

TEST_F(PersistenceTest, a_cut_sample_is_not_counted_and_a_stretch_begins_at_the_same_sample_on_both_lanes) {
    folder.makeFolders("TavrinAssistant/Recordings");
    folder.writeAtomically("TavrinAssistant/Recordings/" + id + "-me.pcm", "aabbc");
    open();
    EXPECT_EQ(store->micPCM()->sampleCount(), 2U);
    append("ddx");
    for (const std::uint64_t begin : {5, 3}) {
        store->micPCM()->beginStretch(begin);
        store->themPCM()->beginStretch(begin);
    }
    append("ee");
    time.runUntilIdle();
    EXPECT_EQ(onDisk(store->micPCMURL), std::string("aabbc\0dd\0\0ee", 12));
    EXPECT_EQ(onDisk(store->themPCMURL), std::string(10, '\0'));
}

/// Capture of three seconds with the power cut after each possible step.
TEST_F(PersistenceTest, a_power_cut_costs_at_most_a_second_of_sound_and_every_file_loads) {
    bool wasCut = true;
    for (std::size_t steps = 0; wasCut; ++steps) {
        SCOPED_TRACE(steps);
        store.reset();
        time.advance(5s);
        folder.removeTree("TavrinAssistant");
        folder.makeFolders("TavrinAssistant/Recordings");
        open();
        const std::size_t before = folder.stepCount();
        folder.cutPowerAfter(steps);
        std::string given;
        int lines = 0;
        wasCut = false;
        for (int piece = 0; piece < 30 && !wasCut; ++piece) {
            if (piece % 10 == 5) store->appendSegment(segmentNamed(std::to_string(lines++)));
            given += hear(piece, 1);
            wasCut = folder.stepCount() - before >= steps;
        }
        folder.restart({.namesSurvive = steps % 2 == 0, .unsyncedBytesSurvive = steps % 7});
        const std::string left = onDisk(store->micPCMURL);
        EXPECT_TRUE(given.starts_with(left.substr(0, left.size() / 2 * 2)));
        EXPECT_GE(left.size() + 32'000, given.size());
        const auto segments = parseSegmentsLog(onDisk(store->segmentsURL));
        for (std::size_t i = 0; i < segments.size(); ++i)
            EXPECT_EQ(segments[i].text, std::to_string(i));
        EXPECT_GE(int(segments.size()) + 1, lines);
    }
}

TEST_F(PersistenceTest, a_full_disk_is_told_once_and_nothing_is_lost_or_turned_round_when_there_is_room_again) {
    open();
    std::string given = hear(0, 20);
    folder.limitCapacity(given.size() + 1'000);
    store->appendSegment(segmentNamed("line 1"));
    given += hear(20, 20);
    store->appendSegment(segmentNamed("line 2"));
    given += hear(40, 210);
    EXPECT_THAT(told, ElementsAre(true));
    folder.limitCapacity(std::nullopt);
    given += hear(250, 50);
    EXPECT_THAT(told, ElementsAre(true, false));
    EXPECT_EQ(store->micPCM()->sampleCount() * 2, given.size());
    EXPECT_EQ(store->micPCM()->lostSamples(), 0U);
    EXPECT_TRUE(onDisk(store->micPCMURL) == given);
    EXPECT_THAT(loadedTexts(), ElementsAre("line 1", "line 2"));
}

TEST_F(PersistenceTest, beyond_a_minute_the_newest_sound_is_lost_and_becomes_silence_of_its_length) {
    folder.limitCapacity(0);
    open();
    std::string expected = hear(0, 600);
    expected += std::string(hear(600, 20).size(), '\0');
    EXPECT_EQ(store->micPCM()->lostSamples(), 20U * 1'600);
    EXPECT_EQ(store->lostSeconds(), 2);
    EXPECT_TRUE(quiet.contains("sound is lost, the disk has taken nothing for a minute"));
    EXPECT_FALSE(quiet.contains("s of sound are lost"));
    append(std::string(640'000, '\0')); // silence has room
    expected += std::string(640'000, '\0');
    folder.limitCapacity(std::nullopt);
    time.advance(1s);
    expected += hear(1, 1);
    EXPECT_EQ(resultOf(store->flush()), true);
    EXPECT_TRUE(onDisk(store->micPCMURL) == expected);
    EXPECT_EQ(store->lostSeconds(), 2);
    EXPECT_TRUE(quiet.contains("2.0 s of sound are lost"));
}

TEST_F(PersistenceTest, a_write_that_fails_half_way_and_cannot_be_taken_back_is_not_written_twice) {
    open();
    append("aabb");
    time.runUntilIdle();
    folder.limitCapacity(7);
    folder.failNext(MemoryFolder::Step::truncate, EIO);
    append("ccddee");
    time.advance(500ms);
    append("ff");
    folder.limitCapacity(std::nullopt);
    time.advance(1s);
    EXPECT_EQ(onDisk(store->micPCMURL), "aabbccddeeff");
    folder.failNext(MemoryFolder::Step::sync, EIO);
    append("gg");
    time.advance(3s);
    EXPECT_EQ(onDisk(store->micPCMURL), "aabbccddeeffgg");
    EXPECT_THAT(told, ElementsAre(true, false, true, false));
}

TEST_F(PersistenceTest, what_a_failed_sync_has_dropped_is_written_again) {
    open();
    append("aabb");
    time.advance(1s);
    append("ccdd");
    store->micPCM()->beginStretch(6);
    for (int i = 0; i < 3; ++i)
        folder.failNext(MemoryFolder::Step::sync, EIO);
    time.advance(1s);
    append("ee");
    EXPECT_EQ(readBack(0, std::nullopt), std::string("aabbccdd\0\0\0\0ee", 14));
    time.advance(4s);
    EXPECT_THAT(told, ElementsAre(true, false));
    append("ff");
    time.advance(1s);
    folder.restart({});
    EXPECT_EQ(onDisk(store->micPCMURL), std::string("aabbccdd\0\0\0\0eeff", 16));
}

TEST_F(PersistenceTest, a_disk_that_hangs_is_told_by_those_who_append) {
    open();
    std::string given = hear(0, 20);
    time.stall(storage, 20s);
    given += hear(20, 49);
    EXPECT_THAT(told, IsEmpty());
    given += hear(69, 50);
    EXPECT_THAT(told, ElementsAre(true));
    time.advance(12s);
    EXPECT_THAT(told, ElementsAre(true, false));
    EXPECT_TRUE(onDisk(store->micPCMURL) == given);
}

TEST_F(PersistenceTest, flush_says_when_the_disk_does_not_get_there_in_two_seconds) {
    open();
    append("aa");
    EXPECT_TRUE(resultOf(store->flush()));
    folder.limitCapacity(0);
    append("bb");
    const SteadyInstant begin = time.now();
    EXPECT_FALSE(resultOf(store->flush()));
    time.stall(storage, 10s);
    EXPECT_FALSE(resultOf(store->micPCM()->flush()));
    EXPECT_EQ(time.now() - begin, 2 * 2s);
}

TEST_F(PersistenceTest, a_line_after_a_torn_one_stands_alone_and_a_rewrite_keeps_the_lines_that_follow_it) {
    folder.makeFolders("TavrinAssistant/Recordings");
    const std::string whole = segmentsLog(std::vector{segmentNamed("first"), segmentNamed("torn")});
    folder.writeAtomically("TavrinAssistant/Recordings/" + id + "-segments.jsonl", whole.substr(0, whole.size() - 3));
    open();
    store->appendSegment(segmentNamed("second"));
    EXPECT_THAT(loadedTexts(), ElementsAre("first", "second"));

    folder.limitCapacity(0);
    store->appendSegment(segmentNamed("superseded"));
    time.runUntilIdle();
    const std::vector rewritten{segmentNamed("First"), segmentNamed("Second"), segmentNamed("Third")};
    store->rewriteSegments(rewritten);
    store->appendSegment(segmentNamed("fourth"));
    time.advance(3s);
    EXPECT_THAT(loadedTexts(), ElementsAre("first", "second"));
    folder.limitCapacity(std::nullopt);
    time.advance(1s);
    EXPECT_THAT(loadedTexts(), ElementsAre("First", "Second", "Third", "fourth"));
    store->rewriteSegments({});
    time.runUntilIdle();
    EXPECT_TRUE(folder.info(store->segmentsURL));
    EXPECT_THAT(loadedTexts(), IsEmpty());
}

TEST_F(PersistenceTest, what_is_deleted_stays_deleted_whatever_comes_late) {
    open();
    append("aa");
    store->appendSegment(segmentNamed("line"));
    EXPECT_TRUE(resultOf(store->writeCheckpoint({.meetingID = id})));
    Task<bool> late = store->writeCheckpoint({.meetingID = id});
    append("bb");
    store->deletePCM();
    EXPECT_EQ(store->micPCM()->sampleCount(), 0U);
    time.advance(3s);
    EXPECT_THAT(folder.list("TavrinAssistant/Recordings"),
                ElementsAre(id + "-checkpoint.json", id + "-segments.jsonl"));
    append("cc"); // the meeting goes on
    time.advance(3s);
    EXPECT_EQ(onDisk(store->micPCMURL), "cc");

    store->deleteAll();
    append("dd");
    store->appendSegment(segmentNamed("late"));
    EXPECT_FALSE(resultOf(std::move(late)));
    store.reset();
    time.advance(3s);
    EXPECT_THAT(folder.list("TavrinAssistant/Recordings"), IsEmpty());
}

TEST_F(PersistenceTest, a_store_that_goes_saves_what_waits_and_tells_nothing_more) {
    open();
    append("aa");
    store.reset();
    time.runUntilIdle();
    folder.restart({});
    EXPECT_EQ(onDisk("TavrinAssistant/Recordings/" + id + "-me.pcm"), "aa");

    open();
    folder.limitCapacity(0);
    append("bb");
    store.reset();
    time.advance(10s);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(time.pendingJobs(), 0U);
    EXPECT_TRUE(quiet.contains("bytes are lost"));
}

TEST(PcmArchiveThreads, a_capture_a_reader_of_counts_and_the_storage_thread_do_not_disturb_each_other) {
    MemoryFolder folder;
    ThreadPool pool(2);
    SerialExecutor storage(pool);
    constexpr std::uint64_t pieces = 500;
    {
        PcmArchive lane(folder, "me.pcm", storage, {});
        const std::jthread capture([&] {
            for (std::uint64_t i = 0; i < pieces; ++i)
                lane.append(std::as_bytes(std::span(std::string_view("some samples"))));
        });
        for (std::uint64_t seen = 0; seen < pieces * 6; seen = lane.sampleCount())
            EXPECT_GE(lane.sampleCount(), seen);
    }
    storage.runAndWait([] {});
    folder.restart({});
    EXPECT_EQ(folder.info("me.pcm")->size, pieces * 12);
}

} // namespace
} // namespace tavrin
