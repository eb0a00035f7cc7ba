// Data that could not be moved is found again by the old client.conf, until all of it has moved.
#include <filesystem>
#include <gtest/gtest.h>

#include "agents/carry/DataMove.h"
#include "tests/support/Captured.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using testfiles::Exists;
using testfiles::Read;
using testfiles::Write;

constexpr const char* kOldConf = "/opt/old/etc/client.conf";
constexpr const char* kMark = "/opt/new/etc/.unmoved";

class UnmovedData : public testing::Test {
  protected:
    UnmovedData() {
        Write(
            kOldConf,
            "[Version]\nagent_major=6\n[Configuration]\ninstalldir=/opt/old\nevent_queue_dir=/opt/old/queue\n");
        Write("/opt/new/etc/client.conf",
              "[Configuration]\ninstalldir=/opt/new/\nevent_queue_dir=/opt/new/queue\n");
        Write("/opt/old/queue/both", "old");
        Write("/opt/old/queue/one", "one");
        Write("/opt/new/queue/both", "in the way");
    }
    ~UnmovedData() override {
        for (const auto& entry : std::filesystem::directory_iterator("/opt"))
            std::filesystem::remove_all(entry);
    }

    /// Keeps the old client.conf as an upgrade does whose move was partial.
    static void Keep() {
        KeepConfOfUnmovedData(IniFile(String::FromUtf8(kOldConf)), IniFile(L"/opt/new/etc/client.conf"));
    }

    /// What the next run tells while it goes on.
    static std::string GoOn() {
        return testsupport::Captured([] { MoveUnmovedData(IniFile(L"/opt/new/etc/client.conf")); }).err;
    }
};

TEST_F(UnmovedData, IsMovedByTheNextRuns_UntilNothingIsLeft) {
    Keep();
    EXPECT_EQ(Read(kMark), "/opt/old/etc/client.conf\n");
    const std::string told =
        "WARNING! /opt/old/queue is kept: /opt/new/queue has entries of the same name.\n";
    EXPECT_EQ(GoOn(), told);
    EXPECT_EQ(Read("/opt/new/queue/one"), "one");
    EXPECT_EQ(GoOn(), told);
    EXPECT_TRUE(Exists(kOldConf));
    std::filesystem::remove("/opt/new/queue/both");
    EXPECT_EQ(GoOn(), "");
    EXPECT_EQ(Read("/opt/new/queue/both"), "old");
    EXPECT_FALSE(Exists("/opt/old"));
    EXPECT_FALSE(Exists(kMark));
    EXPECT_EQ(GoOn(), "");
}

TEST_F(UnmovedData, KeepsTheOldConfigurationFromBeingTakenForAnAgent) {
    EXPECT_FALSE(IsKeptForUnmovedData(String::FromUtf8(kOldConf)));
    Keep();
    EXPECT_TRUE(IsKeptForUnmovedData(String::FromUtf8(kOldConf)));
    EXPECT_FALSE(IsKeptForUnmovedData(L"/opt/new/etc/client.conf"));
    EXPECT_EQ(Read("/opt/old/etc/.moved"), "/opt/new\n");
}

TEST_F(UnmovedData, IsLeftAlone_WhenAnotherAgentHasComeToTheOldPlace) {
    Keep();
    MoveUnmovedData(IniFile(String::FromUtf8(kOldConf)));  // a configuration of /opt/old
    EXPECT_FALSE(IsKeptForUnmovedData(String::FromUtf8(kOldConf)));
    EXPECT_EQ(GoOn(), "");
    EXPECT_EQ(Read("/opt/old/queue/one"), "one");
    EXPECT_TRUE(Exists(kOldConf));
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(UnmovedData, IsFoundByACopyOfTheOldConfiguration_WhenTheUpgradeIsInPlace) {
    Write("/opt/new/etc/client.conf.old",
          "[Configuration]\ninstalldir=/opt/new\nevent_queue_dir=/opt/old/queue\n");
    KeepConfOfUnmovedData(IniFile(L"/opt/new/etc/client.conf.old"), IniFile(L"/opt/new/etc/client.conf"));
    EXPECT_EQ(Read(kMark), "/opt/new/etc/client.conf.unmoved\n");
    Write("/opt/new/etc/client.conf.old", "of the next upgrade");
    std::filesystem::remove("/opt/new/queue/both");
    EXPECT_EQ(GoOn(), "");
    EXPECT_EQ(Read("/opt/new/queue/both"), "old");
    EXPECT_FALSE(Exists("/opt/new/etc/client.conf.unmoved"));
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(UnmovedData, IsFoundByACopy_WhenTheOldConfigurationNamesADirectoryThatItIsNotIn) {
    for (const std::string claimed : {"/usr", "/usr/local", "/", "/opt/elsewhere"}) {
        SCOPED_TRACE(claimed);
        Write("/opt/new/etc/client.conf.old",
              "[Configuration]\ninstalldir=" + claimed + "\nevent_queue_dir=/opt/old/queue\n");
        std::filesystem::remove(kMark);
        std::filesystem::remove("/opt/new/etc/client.conf.unmoved");
        KeepConfOfUnmovedData(IniFile(L"/opt/new/etc/client.conf.old"), IniFile(L"/opt/new/etc/client.conf"));
        EXPECT_EQ(Read(kMark), "/opt/new/etc/client.conf.unmoved\n");
        for (const std::string name : {"client.conf", ".moved"})
            EXPECT_FALSE(Exists(claimed + "/etc/" + name)) << name;
    }
    // Not even where such a file happens to lie.
    Write("/usr/etc/client.conf", "[Configuration]\ninstalldir=/usr\nevent_queue_dir=/opt/old/queue\n");
    KeepConfOfUnmovedData(IniFile(L"/usr/etc/client.conf"), IniFile(L"/opt/new/etc/client.conf"));
    EXPECT_FALSE(Exists("/usr/etc/.moved"));
    std::filesystem::remove("/usr/etc/client.conf");
}

TEST_F(UnmovedData, IsRememberedOfTwoUpgrades) {
    Keep();
    for (const std::string store : {"one", "two"}) {
        Write("/opt/new/etc/client.conf.old",
              "[Configuration]\ninstalldir=/opt/new\nevent_queue_dir=/opt/data/" + store + "\n");
        KeepConfOfUnmovedData(IniFile(L"/opt/new/etc/client.conf.old"), IniFile(L"/opt/new/etc/client.conf"));
    }
    EXPECT_EQ(Read(kMark),
              "/opt/old/etc/client.conf\n"
              "/opt/new/etc/client.conf.unmoved\n"
              "/opt/new/etc/client.conf.unmoved.2\n");
}

TEST_F(UnmovedData, IsNotLookedForByAMarkThatAnyoneCanWrite) {
    Keep();
    chmod("/opt/new/etc", 0777);
    chmod(kMark, 0666);
    EXPECT_EQ(GoOn(), "");
    EXPECT_EQ(Read("/opt/old/queue/one"), "one");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
