// Moving what a directory holds, losing nothing.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "corekit/fs/Dir.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::Dir;
using corekit::Result;
using testfiles::NamesIn;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Mount;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

/// Entries of every kind.
void MakeStore(const std::string& path) {
    testfiles::Write(path + "/file", "content", 0640);
    testfiles::Write(path + "/.hidden", "", 0);
    testfiles::Write(path + "/sub/deep/file", std::string(150000, 'x'), 0751);
    fs::create_directory(path + "/empty");
    fs::create_symlink("/etc", path + "/link");
    fs::create_symlink("nowhere", path + "/dangling");
    ASSERT_EQ(mkfifo((path + "/fifo").c_str(), 0600), 0);
    ASSERT_EQ(chmod((path + "/fifo").c_str(), 0622), 0);
    ASSERT_EQ(chmod((path + "/sub").c_str(), 0700), 0);
    const timespec times[] = {{1, 0}, {1000000000, 5}};
    for (const char* name : {"/file", "/sub", "/link"})
        ASSERT_EQ(utimensat(AT_FDCWD, (path + name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

void ExpectStore(const std::string& path) {
    EXPECT_THAT(NamesIn(path), ElementsAre(".hidden", "dangling", "empty", "fifo", "file", "link", "sub"));
    EXPECT_EQ(testfiles::Read(path + "/file"), "content");
    EXPECT_EQ(testfiles::Read(path + "/sub/deep/file"), std::string(150000, 'x'));
    EXPECT_EQ(fs::read_symlink(path + "/link"), "/etc");
    EXPECT_EQ(fs::read_symlink(path + "/dangling"), "nowhere");
    EXPECT_TRUE(fs::is_fifo(path + "/fifo"));
    EXPECT_TRUE(fs::is_directory(path + "/empty"));
    EXPECT_EQ(testfiles::Mode(path + "/file"), 0640U);
    EXPECT_EQ(testfiles::Mode(path + "/.hidden"), 0U);
    EXPECT_EQ(testfiles::Mode(path + "/sub"), 0700U);
    EXPECT_EQ(testfiles::Mode(path + "/sub/deep/file"), 0751U);
    EXPECT_EQ(testfiles::Mode(path + "/fifo"), 0622U);
    for (const char* name : {"/file", "/sub", "/link"}) {
        struct stat info {};
        ASSERT_EQ(lstat((path + name).c_str(), &info), 0);
        EXPECT_EQ(info.st_mtim.tv_sec, 1000000000) << name;
        EXPECT_EQ(info.st_mtim.tv_nsec, 5) << name;
    }
}

}  // namespace

TEST(DirMove, MovesEveryEntryAndTheEmptyDirectoryGoes) {
    const Workspace dir;
    MakeStore(dir / "from");
    EXPECT_TRUE(Dir::Move(dir("from"), dir("new/to")));
    ExpectStore(dir / "new/to");
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("new"));
}

TEST(DirMove, KeepsAttributesOnAnotherFileSystem) {
    const Workspace dir;
    const Mount other = Mount::Tmpfs(dir / "other");
    testfiles::Write(dir / "from/sub/file", "1");
    for (const char* name : {"from", "from/sub", "from/sub/file"}) {
        testfiles::SetAttribute(dir / name, testfiles::kAccessList, testfiles::RootMayRead());
        testfiles::SetAttribute(dir / name, "user.note", name);
    }
    EXPECT_TRUE(Dir::Move(dir("from"), dir("other/to")));
    for (const std::string name : {"", "/sub", "/sub/file"}) {
        const std::string moved = dir / ("other/to" + name);
        EXPECT_EQ(testfiles::Attribute(moved, testfiles::kAccessList), testfiles::RootMayRead()) << name;
        EXPECT_EQ(testfiles::Attribute(moved, "user.note"), "from" + name);
    }
}

TEST(DirMove, RenamesTheDirectoryItself_WhereNothingStandsInTheWay) {
    const Workspace dir;
    MakeStore(dir / "from");
    ASSERT_EQ(chmod((dir / "from").c_str(), 0700), 0);
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(stat((dir / "from").c_str(), &before), 0);
    EXPECT_TRUE(Dir::Move(dir("from"), dir("above/to/")));
    ASSERT_EQ(stat((dir / "above/to").c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    ExpectStore(dir / "above/to");
    EXPECT_FALSE(testfiles::Exists(dir / "from"));
}

TEST(DirMove, TakesADirectoryByAnySpelling) {
    for (const std::string end : {"/.", "/./", "//.//"}) {
        SCOPED_TRACE(end);
        const Workspace dir;
        MakeStore(dir / "from");
        ASSERT_EQ(chmod((dir / "from").c_str(), 0700), 0);
        EXPECT_TRUE(Dir::Move(dir("./from" + end), dir("above/./to" + end)));
        ExpectStore(dir / "above/to");
        EXPECT_EQ(testfiles::Mode(dir / "above/to"), 0700U);
        EXPECT_TRUE(Dir::Move(dir("above/../above/to"), dir("none/../to")));
        ExpectStore(dir / "to");
        EXPECT_FALSE(testfiles::Exists(dir / "from") || testfiles::Exists(dir / "above/to"));
    }
}

TEST(DirMove, LeavesWhatIsMountedInTheDirectory) {
    const Workspace dir;
    testfiles::Write(dir / "from/file", "");
    const Mount mount = Mount::Tmpfs(dir / "from/a disk");
    EXPECT_EQ(Dir::Move(dir("from"), dir("to")), Result(EBUSY));
    EXPECT_THAT(NamesIn(dir / "from"), ElementsAre("a disk"));
    EXPECT_THAT(NamesIn(dir / "to"), ElementsAre("file"));
}

TEST(DirMove, LeavesWhatIsMounted_HoweverTheDirectoryIsCalled) {
    for (const std::string name : {"a b", "a\tb", "a\nb", "a\\b"}) {
        SCOPED_TRACE(name);
        const Workspace dir;
        testfiles::Write(dir / (name + "/file"), "");
        const Mount mount = Mount::Tmpfs(dir / (name + "/disk"));
        EXPECT_EQ(Dir::Move(dir(name), dir("to")), Result(EBUSY));
        EXPECT_THAT(NamesIn(dir / name), ElementsAre("disk"));
        EXPECT_THAT(NamesIn(dir / "to"), ElementsAre("file"));
    }
}

TEST(DirMove, MovesAcrossFileSystems) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    MakeStore(dir / "from");
    EXPECT_TRUE(Dir::Move(dir("from"), L"/opt/other/new/to"));
    ExpectStore("/opt/other/new/to");
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(DirMove, GivesANewDirectoryTheModeOfTheOldOneAndLeavesAPresentOnes) {
    const Workspace dir;
    for (const char* name : {"from1/file", "from2/file", "present/other"}) testfiles::Write(dir / name, "");
    ASSERT_EQ(chmod((dir / "from1").c_str(), 0700), 0);
    ASSERT_EQ(chmod((dir / "from2").c_str(), 0700), 0);
    EXPECT_TRUE(Dir::Move(dir("from1"), dir("parent/new")));
    EXPECT_TRUE(Dir::Move(dir("from2"), dir("present")));
    EXPECT_EQ(testfiles::Mode(dir / "parent/new"), 0700U);
    EXPECT_EQ(testfiles::Mode(dir / "parent"), 0755U);
    EXPECT_EQ(testfiles::Mode(dir / "present"), 0755U);
    EXPECT_THAT(NamesIn(dir / "present"), ElementsAre("file", "other"));
}

TEST(DirMove, LeavesBoth_WhereANameIsTaken) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    for (const std::string& to : {dir / "to", std::string("/opt/other/to")}) {
        SCOPED_TRACE(to);
        testfiles::Write(dir / "from/file", "source");
        testfiles::Write(dir / "from/sub/a", "source");
        testfiles::Write(dir / "from/free", "source");
        testfiles::Write(to + "/file", "present");
        testfiles::Write(to + "/sub/b", "present");
        EXPECT_EQ(Dir::Move(dir("from"), corekit::String::FromUtf8(to)), Result(EEXIST));
        EXPECT_THAT(NamesIn(dir / "from"), ElementsAre("file", "sub"));
        EXPECT_EQ(testfiles::Read(dir / "from/file"), "source");
        EXPECT_THAT(NamesIn(dir / "from/sub"), ElementsAre("a"));
        EXPECT_THAT(NamesIn(to), ElementsAre("file", "free", "sub"));
        EXPECT_EQ(testfiles::Read(to + "/file"), "present");
        EXPECT_THAT(NamesIn(to + "/sub"), ElementsAre("b"));
    }
}

TEST(DirMove, CountsALinkThatLeadsNowhereAsTaken) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    testfiles::Write(dir / "from/file", "source");
    fs::create_symlink(dir / "planted", "/opt/other/file");
    EXPECT_EQ(Dir::Move(dir("from"), L"/opt/other"), Result(EEXIST));
    EXPECT_EQ(testfiles::Read(dir / "from/file"), "source");
    EXPECT_FALSE(testfiles::Exists(dir / "planted"));
}

TEST(DirMove, MovesWhatALinkedDirectoryHolds) {
    const Workspace dir;
    testfiles::Write(dir / "real/file", "x");
    fs::create_directory_symlink("real", dir / "link");
    EXPECT_TRUE(Dir::Move(dir("link"), dir("to")));
    EXPECT_THAT(NamesIn(dir / "to"), ElementsAre("file"));
    EXPECT_THAT(NamesIn(dir / "real"), IsEmpty());
}

TEST(DirMove, RefusesToMoveADirectoryIntoItself) {
    const Workspace dir;
    testfiles::Write(dir / "from/file", "x");
    fs::create_directory_symlink("from", dir / "link");
    for (const char* to : {"from", "from/", "from/sub", "./from/../from/a/b", "link", "link/sub"})
        EXPECT_EQ(Dir::Move(dir("from"), dir(to)), Result(EINVAL)) << to;
    EXPECT_THAT(NamesIn(dir / "from"), ElementsAre("file"));
}

TEST(DirMove, MovesIntoTheDirectoryAbove) {
    const Workspace dir;
    testfiles::Write(dir / "to/from/file", "x");
    EXPECT_TRUE(Dir::Move(dir("to/from"), dir("to")));
    EXPECT_THAT(NamesIn(dir / "to"), ElementsAre("file"));
}

TEST(DirMove, RefusesToEmptyTheDirectoriesOfTheHost) {
    const Workspace dir;
    fs::create_directory_symlink("/etc", dir / "link");
    EXPECT_EQ(Dir::Move(L"/etc", dir("to")), Result(EPERM));
    EXPECT_EQ(Dir::Move(L"/usr/bin/", dir("to")), Result(EPERM));
    EXPECT_EQ(Dir::Move(dir("link"), dir("to")), Result(EPERM));
    EXPECT_FALSE(testfiles::Exists(dir / "to"));
    EXPECT_TRUE(testfiles::Exists("/etc/passwd"));
}

TEST(DirMove, FailsWithoutADirectoryAtEitherEnd) {
    const Workspace dir;
    testfiles::Write(dir / "file", "x");
    testfiles::Write(dir / "from/file", "x");
    EXPECT_EQ(Dir::Move(dir("none"), dir("to")), Result(ENOENT));
    EXPECT_EQ(Dir::Move(dir("file"), dir("to")), Result(ENOTDIR));
    EXPECT_EQ(Dir::Move(L"", dir("to")), Result(ENOENT));
    EXPECT_EQ(Dir::Move(dir("from"), dir("file")), Result(EEXIST));
    EXPECT_EQ(Dir::Move(dir("from"), L""), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file", "from"));
    EXPECT_THAT(NamesIn(dir / "from"), ElementsAre("file"));
}

TEST(DirMove, LosesNothingOnAFullDisk) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other", "size=64k");
    testfiles::Write(dir / "from/big/first", "x");
    testfiles::Write(dir / "from/big/second", std::string(100000, 'x'));
    testfiles::Write(dir / "from/small", "y");
    EXPECT_EQ(Dir::Move(dir("from"), L"/opt/other"), Result(ENOSPC));
    EXPECT_THAT(NamesIn("/opt/other"), ElementsAre("small"));
    EXPECT_THAT(NamesIn(dir / "from"), ElementsAre("big"));
    EXPECT_EQ(testfiles::Read(dir / "from/big/first"), "x");
    EXPECT_EQ(testfiles::Read(dir / "from/big/second"), std::string(100000, 'x'));
}

TEST(DirMove, PrefersAnyOtherFailureToANameThatIsTaken) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other", "size=64k");
    for (const char* name : {"a", "c"}) testfiles::Write(dir / "from/" + name, "x");
    testfiles::Write(dir / "from/b", std::string(100000, 'x'));
    for (const char* name : {"a", "c"}) testfiles::Write(std::string("/opt/other/") + name, "y");
    EXPECT_EQ(Dir::Move(dir("from"), L"/opt/other"), Result(ENOSPC));
    EXPECT_THAT(NamesIn(dir / "from"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(NamesIn("/opt/other"), ElementsAre("a", "c"));
}

TEST(DirMove, RemovesNothingThatIsNotOnDisk) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    MakeStore(dir / "from");
    const int failure =
        WithFailing({{SYS_fsync, EIO}}, [&] { return Dir::Move(dir("from"), L"/opt/other").Code(); });
    EXPECT_EQ(failure, EIO);
    ExpectStore(dir / "from");
    // Of these it is not known whether their names are on disk, of the others that their contents are not.
    EXPECT_THAT(NamesIn("/opt/other"), ElementsAre("dangling", "fifo", "link"));
}

TEST(DirMove, NeedsNoRenameThatReplacesNothing) {
    const Workspace dir;
    MakeStore(dir / "from");
    testfiles::Write(dir / "from/taken", "source");
    testfiles::Write(dir / "to/taken", "present");
    for (const int errnoValue : {EINVAL, ENOSYS}) {
        SCOPED_TRACE(errnoValue);
        const int failure = WithFailing({{SYS_renameat2, errnoValue}},
                                        [&] { return Dir::Move(dir("from"), dir("to")).Code(); });
        EXPECT_EQ(failure, EEXIST);
        EXPECT_EQ(testfiles::Read(dir / "to/taken"), "present");
        EXPECT_EQ(testfiles::Read(dir / "from/taken"), "source");
    }
    EXPECT_THAT(NamesIn(dir / "from"), ElementsAre("taken"));
    fs::remove(dir / "to/taken");
    ExpectStore(dir / "to");
}

TEST(DirMove, MovesMoreThanFitsIntoItsMemory) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    const std::string filler(200, 'f');
    for (int i = 0; i < 12000; ++i) testfiles::Write(dir / ("from/" + std::to_string(i) + filler), "");
    EXPECT_TRUE(Dir::Move(dir("from"), dir("near")));
    EXPECT_EQ(NamesIn(dir / "near").size(), 12000U);
    EXPECT_TRUE(Dir::Move(dir("near"), L"/opt/other/far"));
    EXPECT_EQ(NamesIn("/opt/other/far").size(), 12000U);
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}
