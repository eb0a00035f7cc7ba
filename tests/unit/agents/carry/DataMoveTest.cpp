// Where an agent's data goes on an upgrade, and when the old install directory may go.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include "agents/carry/DataMove.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using testfiles::Exists;
using testfiles::Read;
using testfiles::TempDir;
using testfiles::Write;

constexpr const char* kStoreKeys[] = {"event_queue_dir", "task_storage_path", "swd_storage_path",
                                      "package_storage_path"};

class Relocation : public testing::Test {
  protected:
    void TearDown() override {
        for (const auto& entry : std::filesystem::directory_iterator("/opt"))
            std::filesystem::remove_all(entry);
    }

    IniFile Conf(const std::string& name, const std::string& entries) const {
        Write(m_temp / name, "[Configuration]\n" + entries);
        return IniFile(String::FromUtf8(m_temp / name));
    }

    /// What `MoveData` says to standard error; its result is expected.
    std::string Move(const std::string& oldEntries, const std::string& newEntries, DataMove expected) const {
        const IniFile oldConf = Conf("old.conf", oldEntries);
        const IniFile newConf = Conf("new.conf", newEntries);
        return testsupport::Captured([&] { EXPECT_EQ(MoveData(oldConf, newConf), expected); }).err;
    }

    std::string RemoveOld(const std::string& oldEntries, const std::string& newEntries,
                          DataMove dataMove = DataMove::Complete) const {
        const IniFile oldConf = Conf("old.conf", oldEntries);
        const IniFile newConf = Conf("new.conf", newEntries);
        return testsupport::Captured([&] { RemoveOldInstallation(oldConf, newConf, dataMove); }).err;
    }

    const TempDir m_temp;
};

/// A file system of its own that holds 64 KiB.
class SmallDisk {
  public:
    explicit SmallDisk(const char* path) : m_path(path) {
        std::filesystem::create_directories(path);
        EXPECT_EQ(mount("tmpfs", path, "tmpfs", 0, "size=64k"), 0);
    }
    ~SmallDisk() { umount2(m_path, MNT_DETACH); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

  private:
    const char* m_path;
};

TEST_F(Relocation, MovesEachStoreThatHasAnotherPlace) {
    for (const std::string key : kStoreKeys) {
        SCOPED_TRACE(key);
        Write("/opt/old/" + key + "/sub/file", key);
        EXPECT_EQ(Move(key + "=/opt/old/" + key + "\n", key + "=/opt/new/" + key + "/\n", DataMove::Complete),
                  "");
        EXPECT_EQ(Read("/opt/new/" + key + "/sub/file"), key);
        EXPECT_FALSE(Exists("/opt/old/" + key));
    }
}

TEST_F(Relocation, MovesToAnotherFileSystem) {
    Write("/opt/old/queue/a.kse", "event", 0640);
    std::filesystem::create_symlink("/etc/passwd", "/opt/old/queue/link");
    const std::string target = m_temp / "queue";
    EXPECT_EQ(
        Move("event_queue_dir=/opt/old/queue\n", "event_queue_dir=" + target + "\n", DataMove::Complete), "");
    EXPECT_EQ(Read(target + "/a.kse"), "event");
    EXPECT_EQ(testfiles::Mode(target + "/a.kse"), 0640u);
    EXPECT_EQ(std::filesystem::read_symlink(target + "/link"), "/etc/passwd");
    EXPECT_FALSE(Exists("/opt/old/queue"));
}

// A store that passed for missing would go with the old install directory.
TEST_F(Relocation, LosesNoData_WhateverFails) {
    const std::string oldEntries = "installdir=/opt/old\nevent_queue_dir=/opt/old/queue\n";
    const std::string newEntries = "installdir=/opt/new\nevent_queue_dir=/opt/new/queue\n";
    const IniFile oldConf = Conf("old.conf", oldEntries);
    const IniFile newConf = Conf("new.conf", newEntries);
    const auto relocate = [&] {
        RemoveOldInstallation(oldConf, newConf, MoveData(oldConf, newConf));
        return 0;
    };
    const auto prepare = [] {
        std::filesystem::remove_all("/opt/new");
        std::filesystem::remove_all("/opt/old");
        Write("/opt/new/etc/client.conf", "");
        Write("/opt/old/queue/a.kse", "event");
    };
    const auto expectData = [](int) {
        EXPECT_TRUE(Exists("/opt/new/queue/a.kse") || Exists("/opt/old/queue/a.kse"));
    };
    int points = 0;
    testsupport::Captured([&] {
        // Each call that fails takes another run: the many looks at the links of the host's directories fail
        // below.
        std::vector<int> calls = testsupport::kFileCalls;
        std::erase(calls, SYS_readlink);
        points = testsupport::FailInTurn(calls, EIO, prepare, relocate, expectData);
        for (const int call : testsupport::kFileCalls) {
            prepare();
            expectData(testsupport::WithFailing({{call, EIO}}, relocate));
        }
    });
    EXPECT_GE(points, 50);
}

TEST_F(Relocation, MovesNothing_WhenTheDirectoriesStay) {
    Write("/opt/agent/queue/a.kse", "event");
    std::filesystem::create_directory_symlink("/opt/agent", "/opt/link");
    for (const std::string place :
         {"/opt/agent/queue", "/opt//agent/queue/", "/opt/agent/../agent/queue", "/opt/link/queue"})
        EXPECT_EQ(
            Move("event_queue_dir=/opt/agent/queue\n", "event_queue_dir=" + place + "\n", DataMove::Complete),
            "")
            << place;
    EXPECT_EQ(Read("/opt/agent/queue/a.kse"), "event");
}

TEST_F(Relocation, MovesNothing_WhenTheStoreIsNoDirectory) {
    Write("/opt/file", "");
    for (const std::string value : {"", "/", "relative", "/opt/missing", "/opt/file"})
        EXPECT_EQ(Move("event_queue_dir=" + value + "\n", "event_queue_dir=/opt/new\n", DataMove::Complete),
                  "")
            << value;
    EXPECT_EQ(Move("", "", DataMove::Complete), "");
    EXPECT_FALSE(Exists("/opt/new"));
}

TEST_F(Relocation, LeavesWhatStandsAtTheNewPlaceAndWarnsOfWhatStays) {
    Write("/opt/old/queue/both", "old");
    Write("/opt/old/queue/one", "one");
    Write("/opt/new/queue/both", "new");
    EXPECT_EQ(Move("event_queue_dir=/opt/old/queue\n", "event_queue_dir=/opt/new/queue\n", DataMove::Partial),
              "WARNING! /opt/old/queue is kept: /opt/new/queue has entries of the same name.\n");
    EXPECT_EQ(Read("/opt/new/queue/both"), "new");
    EXPECT_EQ(Read("/opt/new/queue/one"), "one");
    EXPECT_EQ(Read("/opt/old/queue/both"), "old");
    EXPECT_FALSE(Exists("/opt/old/queue/one"));
}

// What a run that was killed had copied to another file system, and not removed yet.
TEST_F(Relocation, CompletesAMoveThatHasBeenCopied) {
    Write("/opt/old/queue/both", "same");
    Write("/opt/old/queue/tree/file", "same");
    Write("/opt/new/queue/both", "same");
    Write("/opt/new/queue/tree/file", "same");
    Write("/opt/new/queue/tree/removed", "of the old one");
    EXPECT_EQ(
        Move("event_queue_dir=/opt/old/queue\n", "event_queue_dir=/opt/new/queue\n", DataMove::Complete), "");
    EXPECT_FALSE(Exists("/opt/old/queue"));
    EXPECT_EQ(Read("/opt/new/queue/both"), "same");
    EXPECT_EQ(Read("/opt/new/queue/tree/removed"), "of the old one");
}

TEST_F(Relocation, KeepsWhatAFullDiskCannotTake) {
    const SmallDisk disk("/opt/small");
    const std::string large(200000, 'x');
    Write("/opt/old/tasks/large", large);
    EXPECT_EQ(
        Move("task_storage_path=/opt/old/tasks\n", "task_storage_path=/opt/small/tasks\n", DataMove::Partial),
        "WARNING! /opt/old/tasks is kept: No space left on device.\n");
    EXPECT_EQ(Read("/opt/old/tasks/large"), large);
    EXPECT_FALSE(Exists("/opt/small/tasks/large"));
}

TEST_F(Relocation, KeepsAStoreThatTheNewConfigurationHasNoPlaceFor) {
    for (const std::string value : {"", "/", "relative"}) {
        SCOPED_TRACE(value);
        Write("/opt/old/queue/a", "event");
        EXPECT_EQ(
            Move("event_queue_dir=/opt/old/queue\n", "event_queue_dir=" + value + "\n", DataMove::Partial),
            "WARNING! /opt/old/queue is kept: the new configuration has no place for it.\n");
        EXPECT_EQ(Read("/opt/old/queue/a"), "event");
    }
}

TEST_F(Relocation, MovesNothingIntoItself) {
    Write("/opt/old/queue/a", "event");
    EXPECT_EQ(Move("event_queue_dir=/opt/old/queue\n", "event_queue_dir=/opt/old/queue/events\n",
                   DataMove::Partial),
              "WARNING! /opt/old/queue is kept: the new configuration names /opt/old/queue/events.\n");
    EXPECT_EQ(Read("/opt/old/queue/a"), "event");
}

TEST_F(Relocation, MovesAStoreOutOfADirectoryBelowItsNewPlace) {
    Write("/opt/store/old/a", "event");
    EXPECT_EQ(Move("event_queue_dir=/opt/store/old\n", "event_queue_dir=/opt/store\n", DataMove::Complete),
              "");
    EXPECT_EQ(Read("/opt/store/a"), "event");
    EXPECT_FALSE(Exists("/opt/store/old"));
}

TEST_F(Relocation, KeepsAStoreThatHoldsWhatTheNewConfigurationNames) {
    Write("/opt/old/swd/packages/p", "package");
    Write("/opt/old/swd/a", "delivery");
    EXPECT_EQ(Move("swd_storage_path=/opt/old/swd\npackage_storage_path=/opt/old/swd/packages\n",
                   "swd_storage_path=/opt/new/swd\npackage_storage_path=/opt/old/swd/packages\n",
                   DataMove::Partial),
              "WARNING! /opt/old/swd is kept: the new configuration names /opt/old/swd/packages.\n");
    EXPECT_EQ(Read("/opt/old/swd/packages/p"), "package");
    EXPECT_EQ(Read("/opt/old/swd/a"), "delivery");
}

TEST_F(Relocation, GivesAStoreWithinAnotherOneItsOwnPlace) {
    Write("/opt/old/swd/packages/p", "package");
    Write("/opt/old/swd/a", "delivery");
    EXPECT_EQ(
        Move("swd_storage_path=/opt/old/swd\npackage_storage_path=/opt/old/swd/packages\n",
             "swd_storage_path=/opt/new/swd\npackage_storage_path=/opt/new/packages\n", DataMove::Complete),
        "");
    EXPECT_EQ(Read("/opt/new/packages/p"), "package");
    EXPECT_EQ(Read("/opt/new/swd/a"), "delivery");
    EXPECT_FALSE(Exists("/opt/new/swd/packages"));
}

TEST_F(Relocation, MovesADirectoryOnce_WhenTwoKeysNameIt) {
    for (const std::string second : {"/opt/old/data", "/opt/old/data/", "/opt/old/./data"}) {
        SCOPED_TRACE(second);
        std::filesystem::remove_all("/opt/new");
        Write("/opt/old/data/one.kse", "event");
        Write("/opt/old/data/one.kst", "task");
        EXPECT_EQ(
            Move("event_queue_dir=/opt/old/data\ntask_storage_path=" + second + "\n",
                 "event_queue_dir=/opt/new/queue\ntask_storage_path=/opt/new/tasks\n", DataMove::Complete),
            "");
        EXPECT_EQ(Read("/opt/new/queue/one.kse"), "event");
        EXPECT_EQ(Read("/opt/new/queue/one.kst"), "task");
        EXPECT_FALSE(Exists("/opt/old/data"));
    }
}

TEST_F(Relocation, MovesTheUsualStoresOfVersion56_WhenItsFileNamesNone) {
    Write("/opt/zorvane/kell/ksagent/var/queue/a.kse", "event");
    Write("/opt/zorvane/kell/ksagent/var/tasks/a.kst", "task");
    const std::string newEntries = "event_queue_dir=/opt/new/queue\ntask_storage_path=/opt/new/tasks\n";
    EXPECT_EQ(Move("[Version]\nagent_major=6\n", newEntries, DataMove::Complete), "");
    EXPECT_FALSE(Exists("/opt/new"));
    EXPECT_EQ(Move("task_storage_path=\n", newEntries, DataMove::Complete), "");
    EXPECT_EQ(Read("/opt/new/queue/a.kse"), "event");
    EXPECT_EQ(Read("/opt/new/tasks/a.kst"), "task");  // an empty value is like none
}

TEST_F(Relocation, WarnsOfEachPathThatKeepsTheOldTree) {
    Write("/opt/old/lib/inventory.so", "");
    Write("/opt/old/monitor/run", "");
    EXPECT_EQ(RemoveOld("installdir=/opt/old\n",
                        "installdir=/opt/new\nsub_agent_paths=/opt/old/monitor/;/opt/old/gone\n[Inventory]\n"
                        "library=/opt/old/lib/inventory.so\n"),
              "WARNING! /opt/old is kept: the new configuration names /opt/old/monitor/.\n"
              "WARNING! /opt/old is kept: the new configuration names /opt/old/lib/inventory.so.\n");
    EXPECT_TRUE(Exists("/opt/old/monitor/run"));
    EXPECT_TRUE(Exists("/opt/old/lib/inventory.so"));
}

TEST_F(Relocation, MovesNothingOutOfAHostDirectory) {
    Write("/var/tmp/a", "");
    EXPECT_EQ(Move("event_queue_dir=/var/tmp\n", "event_queue_dir=/opt/new\n", DataMove::Partial),
              "WARNING! /var/tmp is kept: Operation not permitted.\n");
    EXPECT_TRUE(Exists("/var/tmp/a"));
    std::filesystem::remove("/var/tmp/a");
}

TEST_F(Relocation, RemovesTheOldInstallDirectory) {
    Write("/opt/neighbour", "");
    for (const std::string spelling : {"/opt/old", "/opt/old/", "/opt/old/.", "//opt/./old/./"}) {
        SCOPED_TRACE(spelling);
        Write("/opt/old/etc/client.conf", "");
        Write("/opt/old/any/deep/file", "");
        EXPECT_EQ(RemoveOld("installdir=" + spelling + "\n", "installdir=/opt/new\nvar=/opt/new/var\n"), "");
        EXPECT_FALSE(Exists("/opt/old"));
    }
    EXPECT_TRUE(Exists("/opt/neighbour"));
}

TEST_F(Relocation, RemovesNothing_WhenTheDirectoryStays) {
    Write("/opt/agent/etc/client.conf", "conf");
    std::filesystem::create_directory_symlink("/opt/agent", "/opt/link");
    for (const std::string place : {"/opt/agent", "/opt/agent/", "/opt//agent", "/opt/link"})
        EXPECT_EQ(RemoveOld("installdir=/opt/agent\n", "installdir=" + place + "\n"), "") << place;
    EXPECT_EQ(Read("/opt/agent/etc/client.conf"), "conf");
}

TEST_F(Relocation, RemovesNothing_WhereADirectoryIsUnknown) {
    Write("/opt/old/etc/client.conf", "conf");
    for (const std::string value : {"", "/", "relative"}) {
        SCOPED_TRACE(value);
        EXPECT_EQ(RemoveOld("installdir=/opt/old\n", "installdir=" + value + "\n"), "");
        EXPECT_EQ(RemoveOld("installdir=" + value + "\n", "installdir=/opt/new\n"), "");
    }
    EXPECT_EQ(RemoveOld("installdir=/opt/missing\n", "installdir=/opt/new\n", DataMove::Partial), "");
    EXPECT_TRUE(Exists("/opt/old/etc/client.conf"));
}

TEST_F(Relocation, KeepsTheTreeOfDataThatCouldNotMove) {
    Write("/opt/old/etc/client.conf", "");
    Write("/opt/old/var/queue/a", "");
    EXPECT_EQ(RemoveOld("installdir=/opt/old\n", "installdir=/opt/new\n", DataMove::Partial),
              "WARNING! /opt/old is kept: not all of the data could be moved.\n");
    EXPECT_TRUE(Exists("/opt/old/var/queue/a"));
    EXPECT_TRUE(Exists("/opt/old/etc/client.conf"));
}

TEST_F(Relocation, KeepsATreeThatTheNewConfigurationLeadsInto) {
    for (const std::string named : {"event_queue_dir", "task_storage_path", "swd_storage_path",
                                    "package_storage_path", "var", "guid_guid_file", "debug_output",
                                    "[Client Transport]\nssl_ca_info", "[Client Transport]\nssl_ca_path"}) {
        SCOPED_TRACE(named);
        Write("/opt/old/etc/client.conf", "");
        Write("/opt/old/data/file", "");
        EXPECT_EQ(
            RemoveOld("installdir=/opt/old\n", "installdir=/opt/new\n" + named + "=/opt/old/data/file\n"),
            "WARNING! /opt/old is kept: the new configuration names /opt/old/data/file.\n");
        EXPECT_TRUE(Exists("/opt/old/data/file"));
        EXPECT_FALSE(Exists("/opt/old/etc/client.conf"));
    }
    EXPECT_EQ(RemoveOld("installdir=/opt/old\n", "installdir=/opt/old/new\n"),
              "WARNING! /opt/old is kept: the new configuration names /opt/old/new.\n");
}

TEST_F(Relocation, MakesPathsPrintable_WhenItWarnsOfThem) {
    Write("/opt/old\x1b/queue/both", "old");
    Write("/opt/new/queue/both", "new");
    EXPECT_EQ(
        Move("event_queue_dir=/opt/old\x1b/queue\n", "event_queue_dir=/opt/new/queue\n", DataMove::Partial),
        "WARNING! /opt/old\\x1b/queue is kept: /opt/new/queue has entries of the same name.\n");
}

TEST_F(Relocation, RemovesNoHostDirectory) {
    Write("/usr/local/lib/any", "");
    EXPECT_EQ(RemoveOld("installdir=/usr/local\n", "installdir=/opt/new\n"), "");
    EXPECT_TRUE(Exists("/usr/local/lib/any"));
    std::filesystem::remove("/usr/local/lib/any");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
