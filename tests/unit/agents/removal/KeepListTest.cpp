// What an upgrade leaves standing, and that everything else goes.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/syscall.h>

#include "agents/removal/KeepList.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

using corekit::String;
using corekit::File::HostDirectory;
using testfiles::Exists;
using testfiles::TempDir;
using testfiles::Write;
using Zorvane::AgentInstaller::KeepList;

namespace {

Zorvane::AgentInstaller::RemovalOutcome left;  // by all of them

class KeepListTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const std::string name : {"one", "two", "tree/file", ".hidden"})
            Write("/opt/agent/etc/" + name, "");
    }
    void TearDown() override { std::filesystem::remove_all("/opt/agent"); }

    /// An upgrade whose new client.conf has these entries; none at all for a clean.
    KeepList Of(const std::string& entries) const {
        if (entries.empty()) return KeepList(String(), L"/opt/agent/");
        Write(m_temp / "new.conf", "[Configuration]\n" + entries);
        return KeepList(String::FromUtf8(m_temp / "new.conf"), L"/opt/agent/");
    }

    static std::set<std::string> Left() {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator("/opt/agent/etc"))
            names.insert(entry.path().filename());
        return names;
    }

    const TempDir m_temp;
};

}  // namespace

TEST_F(KeepListTest, AreNoneOnAClean) {
    const KeepList none = Of("");
    EXPECT_FALSE(none.Include(L"/opt/agent/etc/client.proto"));
    none.RemoveOthers(L"/opt/agent/etc/t*", left);
    EXPECT_EQ(Left(), (std::set<std::string>{"one", ".hidden"}));
    none.RemoveOthersInTree(L"/opt/agent/etc", left);
    EXPECT_FALSE(Exists("/opt/agent/etc"));
}

TEST_F(KeepListTest, AreWhatTheNewConfigurationNames) {
    const KeepList named = Of("installdir=/opt/new\nguid_guid_file=/opt/agent/etc/tree/file\n");
    EXPECT_TRUE(named.Include(L"/opt/agent/etc/tree/file"));
    EXPECT_TRUE(named.Include(L"/opt/agent/etc"));
    EXPECT_FALSE(named.Include(L"/opt/agent/etc/one"));
    EXPECT_FALSE(named.Include(L"/opt/agent/etc/client.proto"));
    named.RemoveOthers(L"/opt/agent/etc/t*", left);
    EXPECT_EQ(Left(), (std::set<std::string>{"one", "tree", ".hidden"}));
    named.RemoveOthersInTree(L"/opt/agent/etc", left);
    EXPECT_EQ(Left(), (std::set<std::string>{"tree"}));
    named.RemoveOthers(L"/opt/agent/etc/tree", left);
    EXPECT_EQ(Left(), (std::set<std::string>{"tree"}));
}

TEST_F(KeepListTest, AreInPlaceWhatThePackageAndThisRunLaidDown) {
    const KeepList inPlace = Of("installdir=/opt/agent\n");
    for (const String path :
         {L"/opt/agent/bin/a.bin", L"/opt/agent/etc", L"/opt/agent/etc/client.proto",
          L"/opt/agent/etc/rcscript.proto.unix", L"/opt/agent/etc/config.xml", L"/opt/agent/etc/client.conf",
          L"/opt/agent/etc/client.conf.old", L"/opt/agent/lib", L"/opt/agent/lib/deep/any"})
        EXPECT_TRUE(inPlace.Include(path)) << path.Utf8();
    for (const String path :
         {L"/opt/agent/bin/a", L"/opt/agent/bin/sub/a.bin", L"/opt/agent/etc/client.proto.x",
          L"/opt/agent/etc/rcscript", L"/opt/agent/etc/client.conf.123456", L"/opt/agent/libexec",
          L"/opt/other/etc/client.proto", L"/etc/client.proto"})
        EXPECT_FALSE(inPlace.Include(path)) << path.Utf8();
}

TEST_F(KeepListTest, AreNotTakenForInPlaceWithoutAnInstallDirectory) {
    EXPECT_FALSE(Of("installdir=\n").Include(L"/opt/agent/etc/client.proto"));
    Write(m_temp / "new.conf", "[Configuration]\ninstalldir=\n");
    const KeepList none(String::FromUtf8(m_temp / "new.conf"), String());
    EXPECT_FALSE(none.Include(L"etc/client.proto"));
}

TEST_F(KeepListTest, RemovesHiddenFilesWithTheTreeOnly) {
    const KeepList inPlace = Of("installdir=/opt/agent\n");
    inPlace.RemoveOthers(L"/opt/agent/etc/*", left);
    EXPECT_EQ(Left(), (std::set<std::string>{".hidden"}));
    inPlace.RemoveOthersInTree(L"/opt/agent/etc", left);
    EXPECT_EQ(Left(), (std::set<std::string>{}));
}

TEST_F(KeepListTest, ExpandsNoWildcardInAHostDirectoryUnlessItIsMeant) {
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

TEST_F(KeepListTest, AreAllWhereTheNewConfigurationCannotBeRead) {
    testfiles::Write("/opt/agent/bin/killem", "");
    const KeepList survivors(L"/opt", L"/opt/agent/");  // a directory
    survivors.RemoveOthers(L"/opt/agent/bin/killem", left);
    survivors.RemoveOthersInTree(L"/opt/agent/bin", left);
    EXPECT_TRUE(Exists("/opt/agent/bin/killem"));
}

TEST_F(KeepListTest, AreKnownEvenIfTheNewConfigurationCannotBeReadForAMoment) {
    const auto prepare = [] { Write("/opt/agent/bin/killem", ""); };
    Write(m_temp / "new.conf", "[Configuration]\ninstalldir=/opt/agent\n");
    const auto remove = [&] {
        const KeepList survivors(String::FromUtf8(m_temp / "new.conf"), L"/opt/agent/");
        return survivors.Include(L"/opt/agent/bin/killem") ? 1 : 0;
    };
    const auto expectNone = [](int result) { EXPECT_EQ(result, 0); };
    EXPECT_GT(testsupport::FailInTurn({SYS_openat, SYS_read, SYS_fstat}, EACCES, prepare, remove, expectNone),
              2);
}

TEST_F(KeepListTest, EmptiesNoHostDirectoryBehindALink) {
    std::filesystem::remove_all("/opt/agent/etc");
    std::filesystem::create_directory_symlink("/etc", "/opt/agent/etc");
    Of("installdir=/opt/agent\n").RemoveOthersInTree(L"/opt/agent/etc", left);
    EXPECT_TRUE(Exists("/etc/passwd"));
}
