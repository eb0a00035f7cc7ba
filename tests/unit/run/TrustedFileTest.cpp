// Whom a file is believed from, directory by directory.
#include <cerrno>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "run/TrustedFile.h"
#include "tests/support/Captured.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

String Why(const std::string& path, ChosenBy chosenBy = ChosenBy::Program) {
    return TrustedFile(String::FromUtf8(path), chosenBy).WhyNot();
}

TEST(TrustedFile, AFileOfOursInTmpMayBeUsed) {
    testfiles::Write("/tmp/ours", "x", 0644);
    EXPECT_EQ(Why("/tmp/ours"), L"");
}

TEST(TrustedFile, AFileThatOthersCanWriteMayNotBeUsed) {
    testfiles::Write("/tmp/open", "x", 0666);
    EXPECT_EQ(Why("/tmp/open"), L"other users can write to it");
}

TEST(TrustedFile, AFileThatAGroupCanWriteIsOursOnlyIfTheGroupIs) {
    testfiles::Write("/tmp/group", "x", 0664);
    EXPECT_EQ(Why("/tmp/group"), L"");
    if (chown("/tmp/group", 0, 12345) != 0) return;  // only root is known where this is not root's machine
    ASSERT_EQ(chmod("/tmp/group", 0664), 0);
    EXPECT_EQ(Why("/tmp/group"), L"other users can write to it");
    const testsupport::EnvironmentVariable group("SUDO_GID", "12345");
    EXPECT_EQ(Why("/tmp/group"), L"");
    const testsupport::EnvironmentVariable none("SUDO_GID", "");
    EXPECT_EQ(Why("/tmp/group"), L"other users can write to it");
}

TEST(TrustedFile, WhateverCannotBeLookedAtIsNotTrusted) {
    testfiles::Write("/tmp/open", "x", 0666);
    const int points = testsupport::FailInTurn(
        testsupport::kFileCalls, EIO, [] {}, [] { return Why("/tmp/open").IsEmpty() ? 1 : 0; },
        [](int isTrusted) { EXPECT_EQ(isTrusted, 0); });
    EXPECT_GE(points, 3);
    testfiles::Write("/tmp/ksclt/.reinstall-client.conf", "x", 0600);
    ASSERT_EQ(chmod("/tmp/ksclt", 0777), 0);
    const int more = testsupport::FailInTurn(
        testsupport::kFileCalls, EIO, [] {},
        [] { return Why("/tmp/ksclt/.reinstall-client.conf").IsEmpty() ? 1 : 0; },
        [](int isTrusted) { EXPECT_EQ(isTrusted, 0); });
    EXPECT_GE(more, 3);
    std::filesystem::remove_all("/tmp/ksclt");
}

TEST(TrustedFile, TheEnvironmentIsBelievedOnlyOfRoot) {
    testfiles::Write("/tmp/x", "x", 0644);
    if (chown("/tmp/x", 4711, 0) != 0) return;  // not root's machine
    const testsupport::EnvironmentVariable user("SUDO_UID", "4711");
    EXPECT_EQ(Why("/tmp/x"), L"");
    testsupport::InChild([] {
        EXPECT_EQ(seteuid(12345), 0);
        EXPECT_EQ(Why("/tmp/x"), L"it belongs to another user");
        return 0;
    });
}

TEST(TrustedFile, AFileOfTheCallersOwnMayBeUsed) {
    testfiles::Write("/tmp/own", "x", 0644);
    testfiles::Write("/tmp/group", "x");
    if (chown("/tmp/own", 12345, 0) != 0) return;  // not root's machine
    ASSERT_EQ(chown("/tmp/group", 0, 12345), 0);
    ASSERT_EQ(chmod("/tmp/group", 0664), 0);
    EXPECT_EQ(Why("/tmp/own"), L"it belongs to another user");
    EXPECT_EQ(Why("/tmp/group"), L"other users can write to it");
    testsupport::InChild([] {
        EXPECT_EQ(setresgid(12345, 0, 0), 0);
        EXPECT_EQ(setresuid(12345, 0, 0), 0);
        EXPECT_EQ(Why("/tmp/own"), L"");
        EXPECT_EQ(Why("/tmp/group"), L"");
        return 0;
    });
}

TEST(TrustedFile, ANameAloneIsInTheCurrentDirectory) {
    testfiles::TempDir directory;
    testfiles::Write(directory / "open", "x", 0666);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory.Path());
    EXPECT_EQ(Why("open"), L"");
    std::filesystem::current_path("/tmp");
    testfiles::Write("/tmp/open", "x", 0666);
    EXPECT_EQ(Why("open"), L"other users can write to it");
    std::filesystem::current_path(before);
}

TEST(TrustedFile, IsRoots_WhereRootAloneCanHavePutIt) {
    const testfiles::TempDir directory;
    testfiles::Write(directory / "home/agent/file", "x", 0644);
    std::filesystem::create_symlink(directory / "home/agent/file", directory / "link");
    const auto isRoots = [&](const std::string& name) {
        return TrustedFile(String::FromUtf8(directory / name), ChosenBy::Administrator).IsRoots();
    };
    EXPECT_TRUE(isRoots("home/agent/file"));
    EXPECT_TRUE(isRoots("link"));
    EXPECT_FALSE(isRoots("missing"));
    for (const char* open : {"home", "home/agent"}) {
        ASSERT_EQ(chmod((directory / open).c_str(), 0777), 0);
        EXPECT_FALSE(isRoots("home/agent/file")) << open;
        EXPECT_FALSE(isRoots("link")) << open;
        ASSERT_EQ(chmod((directory / open).c_str(), 0755), 0);
    }
    for (const char* theirs : {"home", "home/agent", "home/agent/file"}) {
        if (chown((directory / theirs).c_str(), 12345, 0) != 0)
            return;  // only root is known where this is not root's machine
        const testsupport::EnvironmentVariable user("SUDO_UID", "12345");
        EXPECT_FALSE(isRoots("home/agent/file")) << theirs;
        EXPECT_FALSE(isRoots("link")) << theirs;
        ASSERT_EQ(chown((directory / theirs).c_str(), 0, 0), 0);
    }
}

// A clean would take root's own for somebody else's, and leave the host's links and services behind.
TEST(TrustedFile, CannotBeRead_WhereItIsNotKnownWhoseItIs) {
    const testfiles::TempDir directory;
    testfiles::Write(directory / "file", "x", 0644);
    const String path = String::FromUtf8(directory / "file");
    const auto isTakenForAnothers = [&] {
        const TrustedFile file(path, ChosenBy::Administrator);
        return file.Read() && !file.IsRoots() ? 1 : 0;
    };
    const int points = testsupport::FailInTurn(
        testsupport::kFileCalls, EIO, [] {}, isTakenForAnothers,
        [](int isAnothers) { EXPECT_EQ(isAnothers, 0); });
    EXPECT_GE(points, 5);
}

TEST(TrustedFile, OnlyRegularFilesCount) {
    ASSERT_EQ(symlink("/etc/passwd", "/tmp/link"), 0);
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    ASSERT_EQ(mkdir("/tmp/directory", 0700), 0);
    for (const char* path : {"/tmp/link", "/tmp/fifo", "/tmp/directory"}) {
        EXPECT_EQ(Why(path), L"it is not a regular file") << path;
    }
}

TEST(TrustedFile, AnyFileMayBeUsed_InADirectoryOfOurs) {
    testfiles::TempDir directory;
    testfiles::Write(directory / "open", "x", 0666);
    EXPECT_EQ(Why(directory / "open"), L"");
}

TEST(TrustedFile, AFileMayNotBeUsed_BelowADirectoryThatOthersCanReplace) {
    testfiles::TempDir directory;
    testfiles::Write(directory / "open/below/file", "x", 0666);
    ASSERT_EQ(chmod((directory / "open").c_str(), 0777), 0);
    EXPECT_EQ(Why(directory / "open/below/file"), L"other users can write to it");
    ASSERT_EQ(chmod((directory / "open").c_str(), 01777), 0);
    EXPECT_EQ(Why(directory / "open/below/file"), L"");
}

TEST(TrustedFile, AFileThatOthersCanWriteMayNotBeUsed_InTheHandOverDirectory) {
    testfiles::Write("/tmp/ksclt/.migrate-client.conf", "x", 0666);
    ASSERT_EQ(chmod("/tmp/ksclt", 0700), 0);
    EXPECT_EQ(Why("/tmp/ksclt/.migrate-client.conf"), L"other users can write to it");
}

TEST(TrustedFile, AFileInAHandOverDirectoryOfOthersIsNotUsed) {
    testfiles::Write("/tmp/ksclt/.reinstall-client.conf", "x", 0600);
    ASSERT_EQ(chmod("/tmp/ksclt", 0777), 0);
    EXPECT_EQ(Why("/tmp/ksclt/.reinstall-client.conf"), L"/tmp/ksclt belongs to another user");
    ASSERT_EQ(chmod("/tmp/ksclt", 0755), 0);
    EXPECT_EQ(Why("/tmp/ksclt/.reinstall-client.conf"), L"");
    if (chown("/tmp/ksclt", 12345, 0) != 0) return;  // only root is known where this is not root's machine
    EXPECT_EQ(Why("/tmp/ksclt/.reinstall-client.conf"), L"/tmp/ksclt belongs to another user");
    ASSERT_EQ(chown("/tmp/ksclt", 0, 0), 0);
}

TEST(RemoveHandOverDirectory, LeavesAndWarnsOfThatOfAnotherUser) {
    testfiles::Write("/tmp/ksclt/file", "x");
    ASSERT_EQ(chmod("/tmp/ksclt", 0777), 0);
    const auto remove = [] {
        EXPECT_EQ(RemoveHandOverDirectory(), corekit::Result(corekit::kBelongsToOthers));
    };
    EXPECT_EQ(testsupport::Captured(remove).err,
              "WARNING! /tmp/ksclt is not used: /tmp/ksclt belongs to another user.\n");
    EXPECT_TRUE(testfiles::Exists("/tmp/ksclt/file"));
    ASSERT_EQ(chmod("/tmp/ksclt", 0755), 0);
    EXPECT_TRUE(RemoveHandOverDirectory());
    EXPECT_FALSE(testfiles::Exists("/tmp/ksclt"));
    EXPECT_TRUE(RemoveHandOverDirectory());
}

TEST(RemoveHandOverDirectory, RemovesThatOfTheCaller) {
    std::filesystem::create_directory("/tmp/ksclt");
    if (chown("/tmp/ksclt", 12345, 0) != 0) return;  // not root's machine
    testsupport::InChild([] {
        EXPECT_EQ(seteuid(12345), 0);
        EXPECT_TRUE(RemoveHandOverDirectory());
        return 0;
    });
    EXPECT_FALSE(testfiles::Exists("/tmp/ksclt"));
}

TEST(RemoveHandOverDirectory, SaysWhetherThereIsNone) {
    const testfiles::TempDir root;
    testsupport::WithRoot(root.Path(), [] { EXPECT_TRUE(RemoveHandOverDirectory()); });
    testsupport::WithFailing({{SYS_newfstatat, EIO}}, [] {
        EXPECT_EQ(RemoveHandOverDirectory(), corekit::Result(EIO));
        return 0;
    });
}

TEST(TrustedFile, AFileWithASecondNameIsNotUsed) {
    testfiles::Write("/tmp/one", "x", 0644);
    ASSERT_EQ(link("/tmp/one", "/tmp/two"), 0);
    EXPECT_EQ(Why("/tmp/one"), L"it has a second name");
    ASSERT_EQ(unlink("/tmp/two"), 0);
    EXPECT_EQ(Why("/tmp/one"), L"");
}

TEST(TrustedFile, ALinkOfOthersOnTheWayIsNotFollowed) {
    testfiles::TempDir directory;
    testfiles::Write(directory / "real/file", "x", 0600);
    std::filesystem::create_directory(directory / "theirs");
    std::filesystem::create_directory_symlink(directory / "real", directory / "theirs/way");
    std::filesystem::create_directory_symlink(directory / "real", directory / "way");
    ASSERT_EQ(chmod((directory / "theirs").c_str(), 0777), 0);
    EXPECT_EQ(Why(directory / "theirs/way/file", ChosenBy::Administrator),
              String::FromUtf8(directory / "theirs") + L" belongs to another user");
    EXPECT_EQ(Why(directory / "way/file"), L"");
}

TEST(TrustedFile, ALinkThatOthersPutInThePlaceOfAFileIsNotFollowed) {
    testfiles::TempDir directory;
    testfiles::Write(directory / "real", "x", 0600);
    std::filesystem::create_directory(directory / "theirs");
    std::filesystem::create_symlink(directory / "real", directory / "theirs/file");
    if (chown((directory / "theirs").c_str(), 12345, 0) != 0) return;  // not root's machine
    const TrustedFile file(String::FromUtf8(directory / "theirs/file"), ChosenBy::Administrator);
    EXPECT_EQ(file.WhyNot(), String::FromUtf8(directory / "theirs") + L" belongs to another user");
    EXPECT_FALSE(file.MayBeUsed());
    EXPECT_FALSE(file.Read());
}

TEST(TrustedFile, AMissingFileIsNotUsed) {
    EXPECT_EQ(Why("/tmp/missing"), L"No such file or directory");
}

TEST(TrustedFile, WhatWasJudgedIsRead) {
    testfiles::Write("/tmp/judged", "judged", 0600);
    const TrustedFile file(L"/tmp/judged", ChosenBy::Program);
    ASSERT_EQ(unlink("/tmp/judged"), 0);
    testfiles::Write("/tmp/judged", "put in its place", 0666);
    EXPECT_TRUE(file.MayBeUsed());
    EXPECT_EQ(file.Read().value(), "judged");
}

TEST(TrustedFile, WhatIsNoFileCannotBeRead) {
    const testfiles::TempDir directory;
    const TrustedFile file(String::FromUtf8(directory.Path()), ChosenBy::Program);
    EXPECT_EQ(file.Read(), corekit::Result(EISDIR));
}

TEST(TrustedFile, EveryIdThatAUserMayHaveIsTheInvokingUsers) {
    testfiles::Write("/tmp/big", "x", 0644);
    if (chown("/tmp/big", 3000000000U, 0) != 0)
        return;  // only root is known where this is not root's machine
    EXPECT_EQ(Why("/tmp/big"), L"it belongs to another user");
    {
        const testsupport::EnvironmentVariable user("SUDO_UID", "3000000000");
        EXPECT_EQ(Why("/tmp/big"), L"");
    }
    for (const char* id : {"3000000001", "+3000000000", "3000000000 ", "7294967296", "-1294967296", ""}) {
        const testsupport::EnvironmentVariable user("SUDO_UID", id);
        EXPECT_EQ(Why("/tmp/big"), L"it belongs to another user") << id;
    }
}

class TrustedFileOfAnother : public testing::Test {
  protected:
    void SetUp() override {
        testfiles::Write(m_directory / "home/file", "x", 0644);
        m_canGiveAway = chown((m_directory / "home/file").c_str(), 12345, 12345) == 0;
    }
    testfiles::TempDir m_directory;
    bool m_canGiveAway = false;
};

TEST_F(TrustedFileOfAnother, IsNotUsed_WhereOthersCanWrite) {
    ASSERT_EQ(chmod((m_directory / "home").c_str(), 01777), 0);
    if (m_canGiveAway) {
        EXPECT_EQ(Why(m_directory / "home/file"), L"it belongs to another user");
        setenv("SUDO_UID", "12345", 1);
        EXPECT_EQ(Why(m_directory / "home/file"), L"");
        setenv("SUDO_UID", "12345x", 1);
        EXPECT_EQ(Why(m_directory / "home/file"), L"it belongs to another user");
    } else {
        EXPECT_EQ(Why("/proc/sys/kernel/hostname"), L"it belongs to another user");
    }
}

/// Its owner may rename what lies in a directory, whoever that belongs to and whatever the sticky bit says.
TEST_F(TrustedFileOfAnother, IsNotUsedBelowADirectoryOfTheirs) {
    if (!m_canGiveAway) return;  // only root is known where this is not root's machine
    testfiles::Write(m_directory / "home/ours/file", "x", 0666);
    ASSERT_EQ(chown((m_directory / "home").c_str(), 12345, 12345), 0);
    for (const mode_t mode : {0755U, 01755U, 01777U}) {
        ASSERT_EQ(chmod((m_directory / "home").c_str(), mode), 0);
        EXPECT_EQ(Why(m_directory / "home/ours/file"), L"other users can write to it") << mode;
        EXPECT_EQ(Why(m_directory / "home/ours/file", ChosenBy::Administrator), L"") << mode;
    }
}

TEST_F(TrustedFileOfAnother, IsUsedInADirectoryThatTheAdministratorNamed) {
    if (m_canGiveAway) {
        ASSERT_EQ(chown((m_directory / "home").c_str(), 12345, 12345), 0);
        EXPECT_EQ(Why(m_directory / "home/file"), L"it belongs to another user");
        EXPECT_EQ(Why(m_directory / "home/file", ChosenBy::Administrator), L"");
    } else {
        EXPECT_EQ(Why("/proc/sys/kernel/hostname", ChosenBy::Administrator), L"");
    }
}

TEST(TrustedFile, JudgesInSilence_AndWarnsWhenAsked) {
    testfiles::Write("/tmp/op\nen", "x", 0666);
    const auto output = testsupport::Captured(
        [] { EXPECT_FALSE(TrustedFile(L"/tmp/op\nen", ChosenBy::Program).MayBeUsed()); });
    EXPECT_EQ(output.err + output.out, "");
    const auto warned = testsupport::Captured([] {
        const TrustedFile file(L"/tmp/op\nen", ChosenBy::Program);
        file.WarnNotUsed(file.WhyNot());
    });
    EXPECT_EQ(warned.err, "WARNING! /tmp/op\\x0aen is not used: other users can write to it.\n");
    EXPECT_EQ(warned.out, "");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
