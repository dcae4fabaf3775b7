#include "app/SingleInstance.h"
#include "support/files/TemporaryFolderTestSupport.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QCoreApplication>
#include <cstdlib>

namespace tavrin {
namespace {

TEST(SingleInstance, without_a_bus_a_lock_in_a_folder_of_this_user_alone_keeps_a_second_one_out) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus", 1); // NOLINT(concurrency-mt-unsafe): no thread yet
    int count = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QCoreApplication application(count, arguments);
    const TemporaryFolder disk;
    const std::filesystem::path folder = disk.path() / "data" / "TavrinAssistant";
    const mode_t before = umask(0);
    SingleInstance first(QString::fromStdString(folder.string()));
    EXPECT_EQ(first.claim({}), SingleInstance::Claim::first);
    umask(before);
    for (const auto& made : {folder, folder.parent_path()})
        EXPECT_EQ(std::filesystem::status(made).permissions(), std::filesystem::perms::owner_all);
    SingleInstance second(QString::fromStdString(folder.string()));
    EXPECT_EQ(second.claim({}, QStringLiteral("start-recording")), SingleInstance::Claim::refused);
}

} // namespace
} // namespace tavrin
