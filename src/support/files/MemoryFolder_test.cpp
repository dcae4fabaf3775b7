#include "support/files/AtomicFile.h"
#include "support/files/FileError.h"
#include "support/files/MemoryFolder.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace tavrin {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using Step = MemoryFolder::Step;

/// What a power cut may leave, from nothing unsynced to everything.
const std::vector<MemoryFolder::PowerCut> cuts = {{false, 0}, {true, 0}, {false, 3}, {true, 3}, {true, 1000}};

/// Runs the change with a cut after 0, 1, 2, ... steps and each kind of loss; `check` sees what is left and whether the
/// change had returned.
template <class Prepare, class Change, class Check>
void cutEverywhere(Prepare prepare, Change change, Check check) {
    const LogCapture quiet;
    for (const MemoryFolder::PowerCut& cut : cuts) {
        bool completed = false;
        for (std::size_t steps = 0; !completed; ++steps) {
            SCOPED_TRACE(testing::Message()
                         << steps << " steps, names " << cut.namesSurvive << ", bytes " << cut.unsyncedBytesSurvive);
            MemoryFolder folder;
            prepare(folder);
            folder.cutPowerAfter(steps);
            try {
                change(folder);
                completed = true;
            } catch (const FileError&) {
                completed = false;
            }
            folder.restart(cut);
            check(folder, completed);
        }
    }
}

TEST(PowerCut, an_atomic_write_leaves_the_old_or_the_new_bytes_and_the_new_ones_once_it_returned) {
    cutEverywhere([](MemoryFolder& folder) { folder.writeAtomically("f", "old content"); },
                  [](MemoryFolder& folder) { folder.writeAtomically("f", "new content"); },
                  [](MemoryFolder& folder, bool completed) {
                      const std::string left = folder.read("f", 100);
                      EXPECT_THAT(left, AnyOf("new content", completed ? "new content" : "old content"));
                      folder.removeTemporaries("");
                      folder.writeAtomically("f", "third");
                      EXPECT_THAT(folder.list(""), ElementsAre("f"));
                  });
}

TEST(PowerCut, changes_of_names_are_whole_and_last_once_they_returned) {
    cutEverywhere(
        [](MemoryFolder& folder) {
            folder.makeFolders("a");
            folder.writeAtomically("a/moves", "content");
            folder.writeAtomically("a/goes", "x");
        },
        [](MemoryFolder& folder) {
            folder.makeFolders("b/c");
            folder.rename("a/moves", "b/c/moved");
            folder.remove("a/goes");
        },
        [](MemoryFolder& folder, bool completed) {
            const bool isOld = folder.info("a/moves").has_value();
            const bool isNew = folder.info("b/c/moved").has_value();
            EXPECT_TRUE(isOld || isNew);
            EXPECT_EQ(folder.read(isNew ? "b/c/moved" : "a/moves", 100), "content");
            EXPECT_TRUE(!completed || (isNew && !isOld && !folder.info("a/goes")));
        });
}

TEST(PowerCut, an_appended_file_keeps_what_was_synced_and_perhaps_a_beginning_of_the_rest) {
    for (const MemoryFolder::PowerCut& cut : cuts) {
        MemoryFolder folder;
        const auto file = folder.openForAppend("log");
        file->append(std::string_view("synced,"));
        file->syncData();
        file->append(std::string_view("later"));
        EXPECT_EQ(folder.read("log", 100), "synced,later");
        folder.restart(cut);
        EXPECT_EQ(folder.read("log", 100), "synced," + std::string("later").substr(0, cut.unsyncedBytesSurvive));
        EXPECT_THROW(file->append(std::string_view("x")), FileError);
        folder.openForAppend("log")->append(std::string_view("!"));
    }
}

TEST(PowerCut, without_its_sync_a_rename_may_come_before_the_content_or_not_at_all) {
    // What AtomicFile guards against must really happen here.
    for (const bool isEarly : {true, false}) {
        MemoryFolder folder;
        folder.openForAppend("new")->append(std::string_view("content"));
        folder.cutPowerAfter(1); // the rename, but not the sync of the folder
        EXPECT_THROW(folder.rename("new", "f"), FileError);
        folder.restart({.namesSurvive = isEarly, .unsyncedBytesSurvive = isEarly ? 0U : 100U});
        EXPECT_EQ(folder.read(isEarly ? "f" : "new", 100), isEarly ? "" : "content");
        EXPECT_FALSE(folder.info(isEarly ? "new" : "f"));
    }
}

TEST(Faults, whatever_step_of_an_atomic_write_fails_the_old_file_stays_and_no_temporary) {
    for (const auto& [step, error] : {std::pair{Step::create, EACCES}, std::pair{Step::write, EIO},
                                      std::pair{Step::sync, EIO}, std::pair{Step::rename, EXDEV}}) {
        MemoryFolder folder;
        folder.makeFolders("d");
        folder.writeAtomically("d/f", "old");
        folder.failNext(step, error);
        try {
            folder.writeAtomically("d/f", "new");
            ADD_FAILURE() << static_cast<int>(step);
        } catch (const FileError& failure) {
            EXPECT_EQ(failure.code().value(), error);
        }
        EXPECT_EQ(folder.read("d/f", 100), "old");
        folder.remove("d/f");
        EXPECT_TRUE(folder.remove("d")); // a temporary would be in the way
    }
}

TEST(Faults, a_write_that_the_disk_cuts_short_is_taken_back_or_else_told_of) {
    const LogCapture log;
    MemoryFolder folder;
    folder.limitWriteSize(3);
    folder.limitCapacity(10);
    const auto file = folder.openForAppend("pcm");
    file->append(std::string_view("123456"));
    EXPECT_EQ(folder.freeBytes(), 4u);
    try {
        file->append(std::string_view("abcdef"));
        FAIL();
    } catch (const FileError& error) {
        EXPECT_EQ(error.code(), std::errc::no_space_on_device);
    }
    EXPECT_EQ(folder.read("pcm", 100), "123456");
    EXPECT_THROW(folder.writeAtomically("f", "abcdef"), FileError);
    EXPECT_THAT(folder.list(""), ElementsAre("pcm"));
    folder.failNext(Step::truncate, EIO);
    EXPECT_THROW(file->append(std::string_view("abcdef")), FileError);
    EXPECT_EQ(file->size(), 10u);
    EXPECT_TRUE(log.contains("files error: part of a failed write stays"));
    folder.limitCapacity(12);
    file->append(std::string_view("ef"));
    EXPECT_EQ(folder.read("pcm", 100), "123456abcdef");
}

} // namespace
} // namespace tavrin
