#include "meeting/StoredRecordings.h"
#include "meeting/TranscriptPersistence.h"
#include "support/files/DiskFolder.h"
#include "support/files/MemoryFolder.h"
#include "support/files/TemporaryFolderTestSupport.h"
#include "support/log/LogCapture.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

namespace tavrin {
namespace {

TEST(StoredRecordingsTest, only_sound_of_meetings_that_are_gone_is_left_over_and_can_be_deleted) {
    MemoryFolder support;
    EXPECT_EQ(storedRecordings(support, {}), StoredRecordings());
    EXPECT_EQ(deleteLeftAudio(support, {}), StoredRecordings());
    support.makeFolders(recordingsFolder);
    for (const auto& [name, bytes] :
         {std::pair("KEPT-checkpoint.json", 30), std::pair("KEPT-me.pcm", 100), std::pair("GONE-me.pcm", 200),
          std::pair("OPEN-them.pcm", 400), std::pair("GONE-segments.jsonl", 7), std::pair("holiday.wav", 5)})
        support.writeAtomically(recordingPath(name), std::string(static_cast<std::size_t>(bytes), 'x'));

    const StoredRecordings before = storedRecordings(support, "OPEN");
    EXPECT_EQ(before.audio, (StoredRecordings::Amount{3, 700}));
    EXPECT_EQ(before.texts, (StoredRecordings::Amount{3, 42}));
    EXPECT_EQ(before.leftAudio, (StoredRecordings::Amount{1, 200}));

    const StoredRecordings after = deleteLeftAudio(support, "OPEN");
    EXPECT_EQ(after.leftAudio, StoredRecordings::Amount());
    EXPECT_EQ(after.audio, (StoredRecordings::Amount{2, 500}));
    EXPECT_EQ(after.texts, before.texts);
    EXPECT_EQ(storedRecordings(support, {}).leftAudio, (StoredRecordings::Amount{1, 400})) << "no meeting is open now";
}

TEST(StoredRecordingsTest, what_cannot_be_looked_at_is_told_and_hides_nothing_else) {
    const LogCapture quiet;
    const TemporaryFolder temporary;
    DiskFolder support(temporary.path());
    support.makeFolders(recordingsFolder);
    support.writeAtomically(recordingPath("A-me.pcm"), "xx");
    support.writeAtomically(recordingPath("C-me.pcm"), "xx");
    const auto loop = support.location(recordingPath("B-me.pcm"));
    std::filesystem::create_symlink(loop, loop);
    EXPECT_EQ(storedRecordings(support, {}).leftAudio, (StoredRecordings::Amount{2, 4, 1}));
    EXPECT_EQ(deleteLeftAudio(support, {}).leftAudio, (StoredRecordings::Amount{0, 0, 1}));

    MemoryFolder broken;
    broken.failNext(MemoryFolder::Step::read, EIO);
    EXPECT_EQ(storedRecordings(broken, {}).leftAudio, (StoredRecordings::Amount{0, 0, 1}));
}

} // namespace
} // namespace tavrin
