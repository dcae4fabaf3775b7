#include "support/files/AtomicFile.h"
#include "support/files/DiskFolder.h"
#include "support/files/FileError.h"
#include "support/files/MemoryFolder.h"
#include "support/files/TemporaryFolderTestSupport.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using std::string_view_literals::operator""sv;
namespace fs = std::filesystem;

struct OnDisk {
    TemporaryFolder disk;
    DiskFolder folder{disk.path() / "new" / "root"};
};

struct InMemory {
    MemoryFolder folder;
};

/// The errno value with which the call fails, 0 if it does not.
int errorOf(const std::function<void()>& call) {
    try {
        call();
        return 0;
    } catch (const FileError& error) {
        return error.code().value();
    }
}

/// What every kind of folder does alike.
template <class Place>
class FolderContract : public testing::Test {
protected:
    FolderContract() { folder.makeFolders(""); }

    Place place;
    Folder& folder = place.folder;
};
using Places = testing::Types<OnDisk, InMemory>;
TYPED_TEST_SUITE(FolderContract, Places);

TYPED_TEST(FolderContract, reads_back_what_was_written) {
    Folder& folder = this->folder;
    const std::string bytes("\0\xff line\n", 8);
    folder.makeFolders("a/b");
    folder.writeAtomically("a/b/f", bytes);
    for (const std::uint64_t limit : {std::uint64_t{8}, Folder::noLimit})
        EXPECT_EQ(folder.read("a/b/f", limit), bytes);
    EXPECT_EQ(errorOf([&] { folder.read("a/b/f", 7); }), EFBIG);
    EXPECT_EQ(folder.readRange("a/b/f", 2, 5), " line");
    EXPECT_EQ(folder.readRange("a/b/f", 7, 100), "\n");
    for (const std::uint64_t behind : {8, 1000})
        EXPECT_EQ(folder.readRange("a/b/f", behind, 1), "");

    const FileInfo file = folder.info("a/b/f").value_or(FileInfo{.isFolder = true});
    EXPECT_FALSE(file.isFolder);
    EXPECT_EQ(file.size, 8u);
    EXPECT_LT(std::chrono::abs(std::chrono::system_clock::now() - file.modified), std::chrono::minutes(1));
    for (const char* name : {"a/b", ""})
        EXPECT_TRUE(folder.info(name).value_or(FileInfo{}).isFolder) << name;
    for (const char* name : {"a/x", "a/b/f/x"})
        EXPECT_FALSE(folder.info(name)) << name;
    EXPECT_GT(folder.freeBytes(), 1000u);
}

TYPED_TEST(FolderContract, an_atomic_write_replaces_and_an_abandoned_one_leaves_no_trace) {
    Folder& folder = this->folder;
    folder.writeAtomically("f", "a long old text");
    folder.writeAtomically("f", "new");
    {
        AtomicFile abandoned(folder, "f");
        abandoned.append(std::string_view("half"));
        EXPECT_THAT(folder.list(""), ElementsAre("f"));
    }
    {
        AtomicFile streamed(folder, "g");
        for (const std::string_view part : {"one ", "", "two"})
            streamed.append(part);
        EXPECT_FALSE(folder.info("g"));
        streamed.commit();
    }
    EXPECT_EQ(folder.read("f", 100), "new");
    EXPECT_EQ(folder.read("g", 100), "one two");
    folder.remove("f");
    folder.remove("g");
    folder.makeFolders("empty");
    folder.rename("empty", "moved"); // succeeds only if nothing is hidden below
    EXPECT_TRUE(folder.remove("moved"));
}

TYPED_TEST(FolderContract, appending_goes_on_where_the_file_ends) {
    Folder& folder = this->folder;
    {
        const auto file = folder.openForAppend("log");
        EXPECT_EQ(file->size(), 0u);
        file->append(std::string_view("one"));
        file->append(std::string_view(""));
        file->syncData();
    }
    const auto file = folder.openForAppend("log");
    EXPECT_EQ(file->size(), 3u);
    file->append(std::string_view("two"));
    EXPECT_EQ(folder.read("log", 10), "onetwo");
    folder.rename("log", "moved");
    file->append(std::string_view("!"));
    EXPECT_EQ(folder.read("moved", 10), "onetwo!");
}

TYPED_TEST(FolderContract, lists_sorted_and_hides_temporaries_until_they_are_removed) {
    Folder& folder = this->folder;
    folder.makeFolders("d/sub");
    for (const char* name : {"d/b", "d/ü", "d/.hidden", "d/A", "d/.~1-0.tmp"})
        folder.openForAppend(name);
    EXPECT_THAT(folder.list("d"), ElementsAre(".hidden", "A", "b", "sub", "ü"));
    EXPECT_TRUE(folder.info("d/.~1-0.tmp"));
    folder.removeTemporaries("d");
    EXPECT_FALSE(folder.info("d/.~1-0.tmp"));
    EXPECT_EQ(folder.list("d").size(), 5u);
}

TYPED_TEST(FolderContract, removes_files_folders_and_trees) {
    Folder& folder = this->folder;
    folder.makeFolders("t/u/v");
    folder.writeAtomically("t/f", "x");
    folder.writeAtomically("t/u/g", "x");
    EXPECT_EQ(errorOf([&] { folder.remove("t"); }), ENOTEMPTY);
    EXPECT_TRUE(folder.remove("t/u/v"));
    EXPECT_TRUE(folder.remove("t/f"));
    EXPECT_FALSE(folder.remove("t/f"));
    EXPECT_FALSE(folder.remove("no/such/folder"));
    EXPECT_TRUE(folder.removeTree("t"));
    EXPECT_FALSE(folder.removeTree("t"));
    EXPECT_THAT(folder.list(""), IsEmpty());
}

TYPED_TEST(FolderContract, moves_files_and_folders_over_what_may_be_replaced) {
    Folder& folder = this->folder;
    folder.makeFolders("from/deep");
    folder.makeFolders("empty");
    folder.makeFolders("full/x");
    folder.writeAtomically("from/deep/f", "1");
    folder.writeAtomically("file", "2");
    using Refusal = std::tuple<const char*, const char*, int>;
    for (const auto& [from, to, error] :
         {Refusal{"from", "full", ENOTEMPTY}, Refusal{"from", "file", ENOTDIR}, Refusal{"file", "empty", EISDIR},
          Refusal{"from", "from/deep/in", EINVAL}, Refusal{"none", "x", ENOENT}, Refusal{"file", "none/x", ENOENT}})
        EXPECT_EQ(errorOf([&] { folder.rename(from, to); }), error) << from << " to " << to;
    folder.rename("file", "file");
    folder.rename("from", "empty");
    folder.rename("empty/deep/f", "file");
    EXPECT_EQ(folder.read("file", 1), "1");
    EXPECT_FALSE(folder.info("from"));
    EXPECT_THAT(folder.list("empty/deep"), IsEmpty());
}

TYPED_TEST(FolderContract, errors_have_the_systems_reason) {
    Folder& folder = this->folder;
    folder.writeAtomically("file", "x");
    const auto allFail = [&](const char* name, int error) {
        EXPECT_EQ(errorOf([&] { folder.read(name, 1); }), error);
        EXPECT_EQ(errorOf([&] { folder.list(name); }), error);
        EXPECT_EQ(errorOf([&] { folder.openForAppend(name); }), error);
        EXPECT_EQ(errorOf([&] { folder.writeAtomically(name, "x"); }), error);
    };
    allFail("none/f", ENOENT);
    allFail("file/f", ENOTDIR);
    EXPECT_EQ(errorOf([&] { folder.read("", 1); }), EISDIR);
    EXPECT_EQ(errorOf([&] { folder.openForAppend(""); }), EISDIR);
    for (const char* name : {"file", "file/x"})
        EXPECT_EQ(errorOf([&] { folder.makeFolders(name); }), ENOTDIR);
}

TYPED_TEST(FolderContract, names_cannot_leave_the_root) {
    Folder& folder = this->folder;
    for (const std::string_view bad : {"/etc/passwd"sv, ".."sv, "a/../b"sv, "./a"sv, "a//b"sv, "a/"sv, "a\0b"sv}) {
        EXPECT_EQ(errorOf([&] { folder.read(bad, 1); }), EINVAL) << bad;
        EXPECT_EQ(errorOf([&] { folder.writeAtomically(bad, ""); }), EINVAL) << bad;
        EXPECT_EQ(errorOf([&] { folder.rename("a", bad); }), EINVAL) << bad;
        EXPECT_EQ(errorOf([&] { folder.makeFolders(bad); }), EINVAL) << bad;
    }
    EXPECT_EQ(errorOf([&] { folder.removeTree(""); }), EBUSY);
}

TEST(DiskFolder, files_and_folders_are_the_users_alone) {
    const TemporaryFolder disk;
    DiskFolder folder(disk.path() / "x" / "y");
    const mode_t before = umask(0);
    folder.makeFolders("z");
    folder.writeAtomically("z/atomic", "");
    folder.openForAppend("z/log");
    umask(before);
    for (const char* name : {"x", "x/y", "x/y/z", "x/y/z/atomic", "x/y/z/log"}) {
        const auto wanted = fs::is_directory(disk.path() / name) ? fs::perms::owner_all
                                                                 : (fs::perms::owner_read | fs::perms::owner_write);
        EXPECT_EQ(fs::status(disk.path() / name).permissions(), wanted) << name;
    }
}

TEST(DiskFolder, removing_a_tree_does_not_follow_links_and_pipes_do_not_block) {
    const TemporaryFolder disk;
    DiskFolder folder(disk.path() / "root");
    EXPECT_THROW(DiskFolder("relative"), std::invalid_argument);
    EXPECT_GT(folder.freeBytes(), 0u); // before there is a root
    folder.makeFolders("t");
    fs::create_directory(disk.path() / "outside");
    fs::create_directory_symlink(disk.path() / "outside", disk.path() / "root/t/link");
    DiskFolder(disk.path()).writeAtomically("outside/kept", "");
    ASSERT_EQ(mkfifo((disk.path() / "root/pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorOf([&] { folder.read("pipe", 10); }), EINVAL);
    EXPECT_NE(errorOf([&] { folder.openForAppend("pipe"); }), 0);
    folder.removeTree("t");
    EXPECT_TRUE(fs::exists(disk.path() / "outside/kept"));
    EXPECT_FALSE(folder.info("t"));
}

} // namespace
} // namespace tavrin
