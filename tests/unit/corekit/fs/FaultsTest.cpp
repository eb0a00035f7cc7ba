// Operations on files in which each system call fails in turn: nothing is lost, and nothing is left over.
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Workspace.h"

using corekit::Dir;
using corekit::Result;
using corekit::String;
using testfiles::Exists;
using testfiles::NamesIn;
using testfiles::Read;
using testfiles::Write;
using testsupport::FailInTurn;
using testsupport::kFileCalls;
using testsupport::kFileCallsButUnlink;
using testsupport::Workspace;

namespace File = corekit::File;
namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

const std::string kLarge(200000, 'x');

/// A directory on another file system than Workspace.
class Elsewhere {
  public:
    Elsewhere() { fs::create_directory(m_path); }
    ~Elsewhere() { fs::remove_all(m_path); }
    Elsewhere(const Elsewhere&) = delete;
    Elsewhere& operator=(const Elsewhere&) = delete;

    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    String operator()(const std::string& name) const { return String::FromUtf8(*this / name); }
    const std::string& Path() const { return m_path; }

  private:
    std::string m_path = "/opt/faults";
};

/// A tree with one entry of each kind.
void MakeTree(const std::string& top) {
    Write(top + "/file", kLarge, 0640);
    Write(top + "/sub/deep/file", "deep");
    fs::create_directory(top + "/empty");
    fs::create_symlink("file", top + "/link");
    ASSERT_EQ(mkfifo((top + "/fifo").c_str(), 0600), 0);
}

void ExpectWholeTree(const std::string& top) {
    EXPECT_EQ(Read(top + "/file"), kLarge);
    EXPECT_EQ(Read(top + "/sub/deep/file"), "deep");
    EXPECT_TRUE(fs::is_directory(top + "/empty"));
    EXPECT_EQ(fs::read_symlink(top + "/link"), "file");
    EXPECT_TRUE(fs::is_fifo(top + "/fifo"));
}

}  // namespace

TEST(Faults, AFileThatIsWrittenIsTheOldOrTheNewOne) {
    const Workspace dir;
    const int points = FailInTurn(
        kFileCallsButUnlink, EIO, [&] { Write(dir / "file", "old", 0640); },
        [&] { return File::WriteBytes(dir("file"), kLarge).Code(); },
        [&](int result) {
            EXPECT_EQ(NamesIn(dir.Path()), Names{"file"});
            EXPECT_EQ(testfiles::Mode(dir / "file"), 0640U);
            const std::string content = Read(dir / "file");
            EXPECT_TRUE(content == kLarge || (content == "old" && result == EIO)) << result;
        });
    EXPECT_GE(points, 8);
    EXPECT_EQ(Read(dir / "file"), kLarge);
}

TEST(Faults, ACopyIsWholeOrIsNot) {
    const Workspace dir;
    Write(dir / "file", kLarge, 0640);
    const int points = FailInTurn(
        kFileCallsButUnlink, EIO, [&] { fs::remove(dir / "copy"); },
        [&] { return File::Copy(dir("file"), dir("copy")).Code(); },
        [&](int result) {
            EXPECT_EQ(Read(dir / "file"), kLarge);
            const bool isCopied = Exists(dir / "copy");
            EXPECT_EQ(NamesIn(dir.Path()), isCopied ? (Names{"copy", "file"}) : Names{"file"});
            EXPECT_TRUE(!isCopied || Read(dir / "copy") == kLarge);
            EXPECT_TRUE(isCopied || result == EIO);
        });
    EXPECT_GE(points, 12);
    EXPECT_EQ(Read(dir / "copy"), kLarge);
}

TEST(Faults, AFileThatIsRenamedIsInOneOfTwoPlaces) {
    const Workspace dir;
    FailInTurn(
        kFileCalls, EIO,
        [&] {
            Write(dir / "from", "new");
            Write(dir / "to", "old");
        },
        [&] { return File::Rename(dir("from"), dir("to")).Code(); },
        [&](int result) {
            EXPECT_EQ(result, EIO);
            EXPECT_EQ(Read(dir / "to"), Exists(dir / "from") ? "old" : "new");
        });
    EXPECT_EQ(NamesIn(dir.Path()), Names{"to"});
}

TEST(Faults, ATreeThatMovesToAnotherFileSystemIsWholeInOneOfTwoPlaces) {
    const Workspace dir;
    const Elsewhere elsewhere;
    const int points = FailInTurn(
        kFileCallsButUnlink, EIO,
        [&] {
            fs::remove_all(dir / "tree");
            fs::remove_all(elsewhere / "tree");
            MakeTree(dir / "tree");
        },
        [&] { return File::Rename(dir("tree"), elsewhere("tree")).Code(); },
        [&](int) {
            const bool moved = Exists(elsewhere / "tree");
            ExpectWholeTree(moved ? elsewhere / "tree" : dir / "tree");
            EXPECT_EQ(NamesIn(elsewhere.Path()), moved ? Names{"tree"} : Names{});
        });
    EXPECT_GE(points, 60);
    ExpectWholeTree(elsewhere / "tree");
    EXPECT_EQ(NamesIn(dir.Path()), Names{});
}

TEST(Faults, WhatADirectoryHoldsIsAllThere_WhenItMoves) {
    const Workspace dir;
    const Elsewhere elsewhere;
    FailInTurn(
        kFileCallsButUnlink, EIO,
        [&] {
            fs::remove_all(dir / "tree");
            fs::remove_all(elsewhere / "new");
            MakeTree(dir / "tree");
        },
        [&] { return Dir::Move(dir("tree"), elsewhere("new")).Code(); },
        [&](int) {
            for (const char* name : {"file", "sub/deep/file", "empty", "link", "fifo"}) {
                EXPECT_TRUE(Exists(dir / "tree/" + name) || Exists(elsewhere / "new/" + name)) << name;
            }
        });
    ExpectWholeTree(elsewhere / "new");
    EXPECT_EQ(NamesIn(dir.Path()), Names{});
}

TEST(Faults, ARemovalThatFailsReportsItAndStaysInItsTree) {
    const Workspace dir;
    Write(dir / "beside", "x");
    const int points = FailInTurn(
        kFileCalls, EIO,
        [&] {
            fs::remove_all(dir / "tree");
            MakeTree(dir / "tree");
        },
        [&] { return Dir::Remove(dir("tree")).Code(); },
        [&](int result) {
            EXPECT_TRUE(result != 0 || !Exists(dir / "tree"));
            EXPECT_EQ(Read(dir / "beside"), "x");
        });
    EXPECT_GE(points, 20);
    EXPECT_EQ(NamesIn(dir.Path()), Names{"beside"});
}

TEST(Faults, ALinkIsReplacedOrStays) {
    const Workspace dir;
    FailInTurn(
        kFileCallsButUnlink, EIO,
        [&] {
            fs::remove(dir / "link");
            fs::create_symlink("old", dir / "link");
        },
        [&] { return File::SymLink(L"new", dir("link"), File::IfPresent::Replace).Code(); },
        [&](int result) {
            EXPECT_EQ(fs::read_symlink(dir / "link"), result == 0 ? "new" : "old");
            EXPECT_EQ(NamesIn(dir.Path()), Names{"link"});
        });
    EXPECT_EQ(fs::read_symlink(dir / "link"), "new");
}

TEST(Faults, AModeIsSetOrThatIsAFailure) {
    const Workspace dir;
    const int points = FailInTurn(
        kFileCalls, EIO, [&] { Write(dir / "file", "x", 0644); },
        [&] { return File::Chmod(dir("file"), 0600).Code(); },
        [&](int result) { EXPECT_EQ(testfiles::Mode(dir / "file"), result == 0 ? 0600U : 0644U); });
    EXPECT_GE(points, 3);
}

TEST(Faults, AnOwnerIsSetOrThatIsAFailure) {
    const Workspace dir;
    const auto prepare = [&] {
        Write(dir / "file", "x", 0600);
        ASSERT_EQ(chown((dir / "file").c_str(), 12, 34), 0);
    };
    const int points = FailInTurn(
        kFileCalls, EIO, prepare, [&] { return File::Chowngrp(dir("file"), 0, 0, 0640).Code(); },
        [&](int result) {
            struct stat info {};
            ASSERT_EQ(stat((dir / "file").c_str(), &info), 0);
            EXPECT_EQ(result == 0, info.st_uid == 0 && info.st_gid == 0 && (info.st_mode & 07777) == 0640);
        });
    EXPECT_GE(points, 5);
}

TEST(Faults, WhatIsReadIsWholeOrAFailure) {
    const Workspace dir;
    Write(dir / "sub/file", kLarge);
    fs::create_symlink("sub/file", dir / "link");
    for (const char* path : {"sub/file", "link"}) {
        SCOPED_TRACE(path);
        const auto read = [&] {
            const auto content = File::ReadBytes(dir(path));
            return content && *content != kLarge ? 99 : content.Outcome().Code();
        };
        EXPECT_GE(FailInTurn(
                      kFileCalls, EIO, [] {}, read, [](int result) { EXPECT_EQ(result, EIO); }),
                  4);
    }
}

TEST(Faults, AnInterruptedCallIsMadeAgain) {
    const Workspace dir;
    Write(dir / "file", "x");
    const auto read = [&] { return File::ReadBytes(dir("file")).Outcome().Code(); };
    EXPECT_GE(FailInTurn(
                  {SYS_openat, SYS_read}, EINTR, [] {}, read, [](int result) { EXPECT_EQ(result, 0); }),
              3);
}

TEST(Faults, ARemovalThatLosesItsWayInADeepTreeFails) {
    const Workspace dir;
    std::string deepest = dir / "tree";
    for (int level = 0; level < 70; ++level) deepest += "/d";  // more than stay open
    const int points = FailInTurn(
        {SYS_openat, SYS_newfstatat, SYS_fstat}, EIO, [&] { fs::create_directories(deepest); },
        [&] { return Dir::Remove(dir("tree")).Code(); },
        [&](int result) { EXPECT_EQ(result == 0, !Exists(dir / "tree")); });
    EXPECT_GE(points, 80);
    EXPECT_FALSE(Exists(dir / "tree"));
}

TEST(Faults, ADeepTreeThatMovesToAnotherFileSystemIsWholeInOneOfTwoPlaces_WhenTheWayBackIsLost) {
    const Workspace dir;
    const Elsewhere elsewhere;
    std::string bottom = "tree";
    for (int level = 0; level < 70; ++level) bottom += "/d";  // more than stay open
    int failing = 0;
    for (bool isReached = true; isReached;) {
        SCOPED_TRACE(++failing);
        fs::remove_all(elsewhere / "tree");
        Write(dir / bottom + "/file", "x");
        isReached =
            testsupport::InChild([&] {
                std::atomic<int> count = 0;
                testsupport::JudgeCalls({SYS_openat}, [&](const seccomp_notif& call) -> testsupport::Verdict {
                    const bool isWayBack =
                        reinterpret_cast<const char*>(call.data.args[1]) == std::string_view("..");
                    return isWayBack && ++count == failing ? testsupport::Verdict(-EIO) : std::nullopt;
                });
                Forgive(File::Rename(dir("tree"), elsewhere("tree")));
                return count >= failing ? 1 : 0;
            }) == 1;
        EXPECT_TRUE(Exists(dir / bottom + "/file") || Exists(elsewhere / bottom + "/file"));
    }
    EXPECT_GE(failing, 10);
    EXPECT_TRUE(Exists(elsewhere / bottom + "/file"));
}

TEST(Faults, ALinkInThePlaceOfADirectoryGoesOrStays) {
    const Workspace dir;
    Write(dir / "sub/file", "x");
    FailInTurn(
        kFileCalls, EIO,
        [&] {
            if (!Exists(dir / "link")) fs::create_directory_symlink("sub", dir / "link");
        },
        [&] { return Dir::Remove(dir("link")).Code(); },
        [&](int result) { EXPECT_EQ(result == 0, !Exists(dir / "link")); });
    EXPECT_EQ(Read(dir / "sub/file"), "x");
}
