// What an upgrade keeps, and that everything else goes.
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

#include "agents/removal/KeepList.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::HostDirectory;
using corekit::String;
using testfiles::Exists;
using testfiles::Write;

Zorvane::AgentInstaller::RemovalOutcome left;  // by all of them

class KeepListTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const std::string name : {"one", "two", "tree/file", ".hidden"})
            Write("/opt/agent/etc/" + name, "");
    }
    void TearDown() override { std::filesystem::remove_all("/opt/agent"); }

    /// An upgrade whose new client.conf has these entries; none at all for a clean.
    static KeepList Of(const std::string& entries) {
        const corekit::IniFile newConf(L"new.conf", String::FromUtf8("[Configuration]\n" + entries));
        return KeepList(entries.empty() ? nullptr : &newConf, L"/opt/agent/");
    }

    static std::set<std::string> Left() {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator("/opt/agent/etc"))
            names.insert(entry.path().filename());
        return names;
    }
};

TEST_F(KeepListTest, KeepsNothingOnAClean) {
    const KeepList none = Of("");
    EXPECT_FALSE(none.Includes(L"/opt/agent/etc/client.proto"));
    none.RemoveOthers(L"/opt/agent/etc/t*", left);
    EXPECT_EQ(Left(), (std::set<std::string>{"one", ".hidden"}));
    none.RemoveOthersInTree(L"/opt/agent/etc", left);
    EXPECT_FALSE(Exists("/opt/agent/etc"));
}

TEST_F(KeepListTest, KeepsThePathsThatTheNewConfigurationNames) {
    const KeepList named = Of("installdir=/opt/new\nguid_guid_file=/opt/agent/etc/tree/file\n");
    EXPECT_TRUE(named.Includes(L"/opt/agent/etc/tree/file"));
    EXPECT_TRUE(named.Includes(L"/opt/agent/etc"));
    EXPECT_FALSE(named.Includes(L"/opt/agent/etc/one"));
    EXPECT_FALSE(named.Includes(L"/opt/agent/etc/client.proto"));
    named.RemoveOthers(L"/opt/agent/etc/t*", left);
    EXPECT_EQ(Left(), (std::set<std::string>{"one", "tree", ".hidden"}));
    named.RemoveOthersInTree(L"/opt/agent/etc", left);
    EXPECT_EQ(Left(), (std::set<std::string>{"tree"}));
    named.RemoveOthers(L"/opt/agent/etc/tree", left);
    EXPECT_EQ(Left(), (std::set<std::string>{"tree"}));
}

TEST_F(KeepListTest, KeepsTheFilesOfThePackageAndOfThisRun_WhenUpgradedInPlace) {
    const KeepList inPlace = Of("installdir=/opt/agent\n");
    for (const String path :
         {L"/opt/agent/bin/a.bin", L"/opt/agent/etc", L"/opt/agent/etc/client.proto",
          L"/opt/agent/etc/rcscript.proto.unix", L"/opt/agent/etc/config.xml", L"/opt/agent/etc/client.conf",
          L"/opt/agent/etc/client.conf.old", L"/opt/agent/lib", L"/opt/agent/lib/deep/any"})
        EXPECT_TRUE(inPlace.Includes(path)) << path.Utf8();
    for (const String path :
         {L"/opt/agent/bin/a", L"/opt/agent/bin/sub/a.bin", L"/opt/agent/etc/client.proto.x",
          L"/opt/agent/etc/rcscript", L"/opt/agent/etc/client.conf.123456", L"/opt/agent/libexec",
          L"/opt/other/etc/client.proto", L"/etc/client.proto"})
        EXPECT_FALSE(inPlace.Includes(path)) << path.Utf8();
}

TEST_F(KeepListTest, KeepsNoFilesOfThePackage_WithoutAnInstallDirectory) {
    EXPECT_FALSE(Of("installdir=\n").Includes(L"/opt/agent/etc/client.proto"));
    const corekit::IniFile newConf(L"new.conf", L"[Configuration]\ninstalldir=\n");
    const KeepList none(&newConf, String());
    EXPECT_FALSE(none.Includes(L"etc/client.proto"));
}

TEST_F(KeepListTest, RemovesHiddenFilesOnlyWithTheTree) {
    const KeepList inPlace = Of("installdir=/opt/agent\n");
    inPlace.RemoveOthers(L"/opt/agent/etc/*", left);
    EXPECT_EQ(Left(), (std::set<std::string>{".hidden"}));
    inPlace.RemoveOthersInTree(L"/opt/agent/etc", left);
    EXPECT_EQ(Left(), (std::set<std::string>{}));
}

TEST_F(KeepListTest, ExpandsWildcardsInAHostDirectory_OnlyWhenItIsMeant) {
    std::filesystem::create_directory_symlink("/usr/bin", "/opt/agent/bin");
    for (const std::string entries : {"", "installdir=/opt/agent\n"}) {
        SCOPED_TRACE(entries);
        Write("/usr/bin/qdn-a", "");
        Write("/usr/bin/qdn-b", "");
        const KeepList survivors = Of(entries);
        survivors.RemoveOthers(L"/usr/bin/qdn-*", left);
        survivors.RemoveOthers(L"/opt/agent/bin/qdn-*", left);
        EXPECT_TRUE(Exists("/usr/bin/qdn-a"));
        survivors.RemoveOthers(L"/usr/bin/qdn-b", left);
        EXPECT_FALSE(Exists("/usr/bin/qdn-b"));
        survivors.RemoveOthers(L"/usr/bin/qdn-*", left, HostDirectory::Meant);
        EXPECT_FALSE(Exists("/usr/bin/qdn-a"));
    }
}

TEST_F(KeepListTest, RemovesALinkThatLeadsToKeptFilesButKeepsOneOnTheWayToThem) {
    std::filesystem::create_directory_symlink("..", "/opt/agent/etc/up");
    std::filesystem::create_directory_symlink("/opt/agent/etc/tree", "/opt/agent/etc/way");
    const KeepList keep = Of("installdir=/opt/new\nguid_guid_file=/opt/agent/etc/way/file\n");
    EXPECT_FALSE(keep.Includes(L"/opt/agent/etc/up"));
    EXPECT_TRUE(keep.Includes(L"/opt/agent/etc/way"));
    EXPECT_TRUE(keep.Includes(L"/opt/agent/etc/tree"));
    keep.RemoveOthersInTree(L"/opt/agent/etc", left);
    EXPECT_EQ(Left(), (std::set<std::string>{"tree", "way"}));
    EXPECT_TRUE(Exists("/opt/agent/etc/tree/file"));
}

TEST_F(KeepListTest, EmptiesNoHostDirectoryBehindALink) {
    std::filesystem::remove_all("/opt/agent/etc");
    std::filesystem::create_directory_symlink("/etc", "/opt/agent/etc");
    Of("installdir=/opt/agent\n").RemoveOthersInTree(L"/opt/agent/etc", left);
    EXPECT_TRUE(Exists("/etc/passwd"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
