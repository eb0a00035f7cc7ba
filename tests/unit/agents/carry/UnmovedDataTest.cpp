// Data that could not be moved is found again by the old client.conf, until all of it has moved.
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agents/carry/DataMove.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Mount.h"
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
    UnmovedData() { Lay(); }

    /// An old agent whose queue has two entries, and a new one with an entry in the way of one of them.
    static void Lay() {
        Write(
            kOldConf,
            "[Version]\nagent_major=6\n[Configuration]\ninstalldir=/opt/old\nevent_queue_dir=/opt/old/queue\n");
        Write("/opt/new/etc/client.conf",
              "[Configuration]\ninstalldir=/opt/new/\nevent_queue_dir=/opt/new/queue\n");
        Write("/opt/old/queue/both", "old");
        Write("/opt/old/queue/one", "one");
        Write("/opt/new/queue/both", "in the way");
    }
    ~UnmovedData() override { Clear(); }

    static void Clear() {
        for (const auto& entry : std::filesystem::directory_iterator("/opt"))
            std::filesystem::remove_all(entry);
    }

    /// The old client.conf of an upgrade in place, whose queue lies elsewhere.
    static void WriteSavedConf(const std::string& queue) {
        Write("/opt/new/etc/client.conf.old",
              "[Configuration]\ninstalldir=/opt/new\nevent_queue_dir=" + queue + "\n");
    }

    /// Keeps it. Returns what is told.
    static std::string KeepSavedConf() {
        return testsupport::Captured([] {
                   KeepConfOfUnmovedData(IniFile(L"/opt/new/etc/client.conf.old"),
                                         IniFile(L"/opt/new/etc/client.conf"));
               })
            .err;
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
    EXPECT_EQ(IsKeptForUnmovedData(String::FromUtf8(kOldConf)), false);
    Keep();
    EXPECT_EQ(IsKeptForUnmovedData(String::FromUtf8(kOldConf)), true);
    EXPECT_EQ(IsKeptForUnmovedData(L"/opt/new/etc/client.conf"), false);
    EXPECT_EQ(Read("/opt/old/etc/.moved"), "/opt/new\n");
}

TEST_F(UnmovedData, IsLeftAlone_WhenAnotherAgentHasComeToTheOldPlace) {
    Keep();
    MoveUnmovedData(IniFile(String::FromUtf8(kOldConf)));  // a configuration of /opt/old
    EXPECT_EQ(IsKeptForUnmovedData(String::FromUtf8(kOldConf)), false);
    EXPECT_EQ(GoOn(), "");
    EXPECT_EQ(Read("/opt/old/queue/one"), "one");
    EXPECT_TRUE(Exists(kOldConf));
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(UnmovedData, IsFoundByACopyOfTheOldConfiguration_WhenTheUpgradeIsInPlace) {
    WriteSavedConf("/opt/old/queue");
    EXPECT_EQ(KeepSavedConf(), "");
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
        EXPECT_EQ(KeepSavedConf(), "");
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
        WriteSavedConf("/opt/data/" + store);
        EXPECT_EQ(KeepSavedConf(), "");
    }
    EXPECT_EQ(Read(kMark),
              "/opt/old/etc/client.conf\n"
              "/opt/new/etc/client.conf.unmoved\n"
              "/opt/new/etc/client.conf.unmoved.2\n");
}

TEST_F(UnmovedData, IsRememberedOnce) {
    Keep();
    Keep();
    EXPECT_EQ(Read(kMark), "/opt/old/etc/client.conf\n");
}

TEST_F(UnmovedData, IsMovedOrRemembered_WhateverFails) {
    const auto prepare = [] {
        Clear();
        Lay();
        Keep();
        std::filesystem::remove("/opt/new/queue/both");
    };
    const auto goOn = [] {
        MoveUnmovedData(IniFile(L"/opt/new/etc/client.conf"));
        return 0;
    };
    const auto check = [](int) {
        const bool isMoved = Exists("/opt/new/queue/both") && Exists("/opt/new/queue/one");
        const bool isRemembered = Exists(kMark) && Read(kMark) == "/opt/old/etc/client.conf\n" &&
                                  Exists(kOldConf) && Exists("/opt/old/etc/.moved");
        EXPECT_TRUE(isMoved || isRemembered);
        GoOn();
        EXPECT_EQ(Read("/opt/new/queue/both"), "old");
        EXPECT_EQ(Read("/opt/new/queue/one"), "one");
    };
    const std::vector<int> calls = {SYS_read, SYS_unlinkat, SYS_renameat, SYS_renameat2};
    EXPECT_GT(testsupport::FailInTurn(calls, EIO, prepare, goOn, check), 10);
}

TEST_F(UnmovedData, OfAnEarlierUpgradeIsNotForgotten_WhateverFails) {
    const auto prepare = [] {
        Clear();
        Lay();
        Keep();
        WriteSavedConf("/opt/data/two");
    };
    const auto keep = [] {
        KeepConfOfUnmovedData(IniFile(L"/opt/new/etc/client.conf.old"), IniFile(L"/opt/new/etc/client.conf"));
        return 0;
    };
    const auto check = [](int) {
        const std::string first = "/opt/old/etc/client.conf\n";
        EXPECT_THAT(Read(kMark), testing::AnyOf(first, first + "/opt/new/etc/client.conf.unmoved\n",
                                                first + "/opt/new/etc/client.conf.unmoved.2\n"));
    };
    EXPECT_GT(testsupport::FailInTurn(testsupport::kFileCalls, EIO, prepare, keep, check), 20);
}

TEST_F(UnmovedData, IsWarnedOf_WhenItCannotBeRemembered) {
    WriteSavedConf("/opt/old/queue");
    {
        const auto mount = testsupport::Mount::Bind("/opt/new", "/opt/new");
        mount.MakeReadOnly();
        EXPECT_EQ(KeepSavedConf(),
                  "WARNING! /opt/new/etc/client.conf.unmoved is not written: Read-only file system.\n");
    }
    const auto mount = testsupport::Mount::Bind("/opt/old", "/opt/old");
    mount.MakeReadOnly();
    EXPECT_EQ(testsupport::Captured(Keep).err,
              "WARNING! /opt/old/etc/.moved is not written: Read-only file system.\n");
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(UnmovedData, IsWarnedOf_WhenItsHundredNamesAreTaken) {
    const std::string name = "/opt/new/etc/client.conf.unmoved";
    Write(name, "of another upgrade");
    for (int number = 2; number <= 100; ++number) Write(name + "." + std::to_string(number), "another");
    WriteSavedConf("/opt/old/queue");
    EXPECT_EQ(KeepSavedConf(), "WARNING! " + name + " is not written: File exists.\n");
    EXPECT_EQ(Read(name), "of another upgrade");
    EXPECT_FALSE(Exists(kMark));
    std::filesystem::remove(name + ".100");
    EXPECT_EQ(KeepSavedConf(), "");
    EXPECT_EQ(Read(kMark), name + ".100\n");
}

TEST_F(UnmovedData, PutsNoMarkIntoAnotherAgentsDirectory) {
    Write("/opt/another/etc/client.conf", "[Configuration]\ninstalldir=/opt/another\n");
    Write("/opt/new/etc/client.conf.old",
          "[Configuration]\ninstalldir=/opt/another\nevent_queue_dir=/opt/old/queue\n");
    EXPECT_EQ(KeepSavedConf(), "");
    EXPECT_EQ(Read(kMark), "/opt/new/etc/client.conf.unmoved\n");
    EXPECT_EQ(Read("/opt/another/etc/client.conf"), "[Configuration]\ninstalldir=/opt/another\n");
    EXPECT_FALSE(Exists("/opt/another/etc/.moved"));
}

TEST_F(UnmovedData, IsNotForgotten_WhileItsConfigurationCannotBeRemoved) {
    const std::string copy = "/opt/new/etc/client.conf.unmoved";
    WriteSavedConf("/opt/data/nothing");
    EXPECT_EQ(KeepSavedConf(), "");
    {
        const auto mount = testsupport::Mount::Bind(copy, copy);
        EXPECT_EQ(GoOn(), "WARNING! " + copy + " is kept: Device or resource busy.\n");
        EXPECT_EQ(Read(kMark), copy + "\n");
    }
    EXPECT_EQ(GoOn(), "");
    EXPECT_FALSE(Exists(copy));
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(UnmovedData, IsForgotten_WhenItsConfigurationIsGone) {
    const std::string copy = "/opt/new/etc/client.conf.unmoved";
    WriteSavedConf("/opt/data/nothing");
    EXPECT_EQ(KeepSavedConf(), "");
    std::filesystem::remove(copy);
    std::filesystem::create_directory(copy);
    EXPECT_EQ(GoOn(), "WARNING! " + copy + " is kept: Is a directory.\n");
    EXPECT_EQ(Read(kMark), copy + "\n");
    std::filesystem::remove(copy);
    EXPECT_EQ(GoOn(), "");
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(UnmovedData, IsNotRememberedWithoutAPlaceOrAConfiguration) {
    const IniFile oldConf(String::FromUtf8(kOldConf));
    Write("/opt/elsewhere/client.conf", "[Configuration]\nevent_queue_dir=/opt/new/queue\n");
    KeepConfOfUnmovedData(oldConf, IniFile(L"/opt/elsewhere/client.conf"));
    EXPECT_FALSE(Exists("/opt/old/etc/.moved"));
    std::filesystem::remove(kOldConf);
    KeepConfOfUnmovedData(oldConf, IniFile(L"/opt/new/etc/client.conf"));
    EXPECT_FALSE(Exists("/opt/old/etc/.moved"));
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(UnmovedData, IsNotLookedForByAMarkThatAnyoneCanWriteOrThatIsNoFile) {
    Keep();
    chmod("/opt/new/etc", 0777);
    chmod(kMark, 0666);
    EXPECT_EQ(GoOn(), "");
    EXPECT_EQ(Read("/opt/old/queue/one"), "one");
    std::filesystem::remove(kMark);
    std::filesystem::create_directory(kMark);
    EXPECT_EQ(GoOn(), "");
    EXPECT_EQ(Read("/opt/old/queue/one"), "one");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
