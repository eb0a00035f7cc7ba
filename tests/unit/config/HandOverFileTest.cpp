// The hand-over file: private, new each time, and gone with its owner unless it has moved.
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include "config/ClientConf.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

TEST(HandOverFile, IsAnEmptyPrivateFile) {
    HandOverFile file;
    EXPECT_TRUE(file.Path().IsEmpty());
    ASSERT_TRUE(file.Create());
    const std::string path = file.Path().Utf8();
    EXPECT_TRUE(path.starts_with("/tmp/.zorvane-agent-installer.")) << path;
    EXPECT_EQ(path.size(), std::string("/tmp/.zorvane-agent-installer.XXXXXX").size());
    EXPECT_EQ(testfiles::Read(path), "");
    EXPECT_EQ(testfiles::Mode(path), 0600U);
}

TEST(HandOverFile, IsRemovedWithItsOwner) {
    std::string path;
    {
        HandOverFile file;
        ASSERT_TRUE(file.Create());
        path = file.Path().Utf8();
    }
    EXPECT_FALSE(testfiles::Exists(path));
}

TEST(HandOverFile, StaysInItsPlace_WhenItHasMovedThere) {
    {
        HandOverFile file;
        ASSERT_TRUE(file.Create());
        std::filesystem::rename(file.Path().Utf8(), "/tmp/client.conf");
    }
    EXPECT_TRUE(testfiles::Exists("/tmp/client.conf"));
    std::filesystem::remove("/tmp/client.conf");
}

TEST(HandOverFile, CanBeRemovedTwice) {
    HandOverFile file;
    ASSERT_TRUE(file.Create());
    const std::string path = file.Path().Utf8();
    file.RemoveHandOverFile();
    EXPECT_FALSE(testfiles::Exists(path));
    EXPECT_TRUE(file.Path().IsEmpty());
    file.RemoveHandOverFile();
    EXPECT_TRUE(file.Path().IsEmpty());
}

TEST(HandOverFile, RemovesTheFirst_WhenItIsMadeAgain) {
    HandOverFile file;
    ASSERT_TRUE(file.Create());
    const std::string first = file.Path().Utf8();
    ASSERT_TRUE(file.Create());
    EXPECT_NE(file.Path().Utf8(), first);
    EXPECT_FALSE(testfiles::Exists(first));
    EXPECT_TRUE(testfiles::Exists(file.Path().Utf8()));
}

TEST(HandOverFile, IsRemovedByTheNextRun_WhenARunWasKilled) {
    testfiles::Write("/tmp/.zorvane-agent-installer.abc123", "");
    testfiles::Write("/tmp/..zorvane-agent-installer.abc123.unfinished", "");
    HandOverFile file;
    ASSERT_TRUE(file.Create());
    EXPECT_FALSE(testfiles::Exists("/tmp/.zorvane-agent-installer.abc123"));
    EXPECT_FALSE(testfiles::Exists("/tmp/..zorvane-agent-installer.abc123.unfinished"));
    EXPECT_TRUE(testfiles::Exists(file.Path().Utf8()));
}

TEST(HandOverFile, FailsWithTheReason_WhenItCannotBeMade) {
    ASSERT_EQ(mount("none", "/tmp", "tmpfs", MS_RDONLY, nullptr), 0);
    HandOverFile file;
    const auto created = file.Create();
    ASSERT_EQ(umount("/tmp"), 0);
    ASSERT_FALSE(created);
    EXPECT_EQ(created.error().text, L"Failed to create migration config file: Read-only file system");
    EXPECT_TRUE(file.Path().IsEmpty());
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
