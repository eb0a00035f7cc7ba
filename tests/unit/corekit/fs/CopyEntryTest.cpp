// Copies of files, links and special files, and of whole trees.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "corekit/fs/detail/CopyEntry.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::CopyEntry;
using corekit::Result;
using testfiles::Attribute;
using testfiles::NamesIn;
using testfiles::SetAttribute;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

Result Copy(const std::string& from, const std::string& to) {
    return CopyEntry({AT_FDCWD, from}, {AT_FDCWD, to});
}

}  // namespace

TEST(CopyEntry, CopiesEachKindAsWhatItIs) {
    const Workspace dir;
    testfiles::Write(dir / "file", "content", 0571);
    fs::create_symlink("file", dir / "link");
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    for (const char* name : {"file", "link", "fifo"})
        EXPECT_TRUE(Copy(dir / name, dir / (std::string(name) + "2"))) << name;
    EXPECT_EQ(testfiles::Read(dir / "file2"), "content");
    EXPECT_EQ(testfiles::Mode(dir / "file2"), 0571U);
    EXPECT_EQ(fs::read_symlink(dir / "link2"), "file");
    EXPECT_TRUE(fs::is_fifo(dir / "fifo2"));
}

TEST(CopyEntry, CopiesOnlyToANameThatIsFree) {
    const Workspace dir;
    testfiles::Write(dir / "file", "content");
    testfiles::Write(dir / "present", "present");
    fs::create_symlink("file", dir / "link");
    fs::create_symlink("planted", dir / "dangling");
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    for (const char* from : {"file", "link", "fifo"}) {
        EXPECT_EQ(Copy(dir / from, dir / "present"), Result(EEXIST)) << from;
        EXPECT_EQ(Copy(dir / from, dir / "dangling"), Result(EEXIST)) << from;
    }
    EXPECT_EQ(testfiles::Read(dir / "present"), "present");
    EXPECT_FALSE(testfiles::Exists(dir / "planted"));
}

TEST(CopyEntry, MakesNothing_WhenThereIsNothingToCopy) {
    const Workspace dir;
    EXPECT_EQ(Copy(dir / "none", dir / "to"), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(CopyEntry, CopiesFilesAndTrees) {
    const Workspace dir;
    testfiles::Write(dir / "tree/a/b/file", "1", 0604);
    testfiles::Write(dir / "tree/c", "2");
    fs::create_symlink("/etc", dir / "tree/a/link");
    ASSERT_EQ(chmod((dir / "tree/a").c_str(), 0510), 0);
    ASSERT_TRUE(Copy(dir / "tree", dir / "copy"));
    ASSERT_TRUE(Copy(dir / "tree/c", dir / "file"));
    EXPECT_EQ(testfiles::Read(dir / "file"), "2");
    EXPECT_THAT(NamesIn(dir / "copy"), ElementsAre("a", "c"));
    EXPECT_THAT(NamesIn(dir / "copy/a"), ElementsAre("b", "link"));
    EXPECT_EQ(testfiles::Read(dir / "copy/a/b/file"), "1");
    EXPECT_EQ(testfiles::Mode(dir / "copy/a/b/file"), 0604U);
    EXPECT_EQ(testfiles::Mode(dir / "copy/a"), 0510U);
    EXPECT_EQ(fs::read_symlink(dir / "copy/a/link"), "/etc");
    EXPECT_EQ(testfiles::Read(dir / "tree/a/b/file"), "1");
}

TEST(CopyEntry, KeepsAccessListsAndWhatUsersAttach) {
    const Workspace dir;
    const std::string list = testfiles::RootMayRead();
    testfiles::Write(dir / "tree/file", "1");
    testfiles::Write(dir / "tree/plain", "2");
    ASSERT_EQ(mkfifo((dir / "tree/fifo").c_str(), 0600), 0);
    for (const char* name : {"tree/file", "tree/fifo", "tree"})
        SetAttribute(dir / name, testfiles::kAccessList, list);
    for (const char* name : {"tree/file", "tree"}) SetAttribute(dir / name, "user.note", "kept");
    // What is made below the copy meanwhile gets this list, unless it is taken away.
    SetAttribute(dir.Path(), testfiles::kDefaultList, list);
    SetAttribute(dir / "tree", testfiles::kDefaultList, list);
    ASSERT_TRUE(Copy(dir / "tree", dir / "copy"));
    for (const char* name : {"copy/file", "copy/fifo", "copy"})
        EXPECT_EQ(Attribute(dir / name, testfiles::kAccessList), list) << name;
    for (const char* name : {"copy/file", "copy"}) EXPECT_EQ(Attribute(dir / name, "user.note"), "kept");
    EXPECT_EQ(Attribute(dir / "copy", testfiles::kDefaultList), list);
    EXPECT_EQ(Attribute(dir / "copy/plain", testfiles::kAccessList), "none");
    EXPECT_EQ(testfiles::Mode(dir / "copy/plain"), 0644U);
}

TEST(CopyEntry, KeepsTheLabelOfALinkAndOfASpecialFile) {
    const Workspace dir;
    fs::create_symlink("file", dir / "link");
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    testfiles::Write(dir / "file", "");
    for (const std::string name : {"link", "fifo"}) {
        SetAttribute(dir / name, "trusted.label", name);
        ASSERT_TRUE(Copy(dir / name, dir / (name + "2")));
        EXPECT_EQ(Attribute(dir / (name + "2"), "trusted.label"), name);
    }
    EXPECT_EQ(Attribute(dir / "file", "trusted.label"), "none");
}

TEST(CopyEntry, TouchesNothingThatHasTheNameAlready) {
    const Workspace dir;
    testfiles::Write(dir / "tree/file", "1");
    testfiles::Write(dir / "present/other", "2");
    EXPECT_EQ(Copy(dir / "tree", dir / "present"), Result(EEXIST));
    EXPECT_THAT(NamesIn(dir / "present"), ElementsAre("other"));
}

TEST(CopyEntry, LeavesNothing_WhenAStepFails) {
    const Workspace dir;
    testfiles::Write(dir / "file", "1");
    testfiles::Write(dir / "tree/a/file", "1");
    for (const char* from : {"file", "tree"})
        for (const int number : {SYS_write, SYS_fchmod, SYS_utimensat, SYS_fsync}) {
            const int failure =
                WithFailing({{number, EIO}}, [&] { return Copy(dir / from, dir / "to").Code(); });
            EXPECT_EQ(failure, EIO) << from << number;
            EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file", "tree")) << from << number;
        }
}

TEST(CopyEntry, CopiesTreesDeeperThanDescriptorsReach) {
    const Workspace dir;
    ASSERT_EQ(mkdir((dir / "tree").c_str(), 0755), 0);
    fs::current_path(dir / "tree");
    for (int level = 0; level < 2000; ++level) {
        ASSERT_EQ(mkdir("d", 0755), 0);
        ASSERT_EQ(chdir("d"), 0);
    }
    ASSERT_EQ(symlink("end", "link"), 0);
    fs::current_path(dir.Path());
    const int failure = WithFailing({}, [&] {
        const rlimit few = {200, 200};
        if (setrlimit(RLIMIT_NOFILE, &few) != 0) return -1;
        return Copy(dir / "tree", dir / "copy").Code();
    });
    EXPECT_EQ(failure, 0);
    fs::current_path(dir / "copy");
    for (int level = 0; level < 2000; ++level) ASSERT_EQ(chdir("d"), 0) << level;
    EXPECT_THAT(NamesIn("."), ElementsAre("link"));
    fs::current_path("/");
    for (const char* name : {"tree", "copy"})
        EXPECT_TRUE(corekit::RemoveTree({AT_FDCWD, dir / name})) << name;
}

TEST(CopyEntry, GivesASpecialFileNoListOfItsNewDirectory) {
    const Workspace dir;
    fs::create_directory(dir / "new");
    SetAttribute(dir / "new", testfiles::kDefaultList, testfiles::RootMayRead());
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    ASSERT_TRUE(Copy(dir / "fifo", dir / "new/fifo"));
    EXPECT_EQ(Attribute(dir / "new/fifo", testfiles::kAccessList), "none");
    EXPECT_EQ(testfiles::Mode(dir / "new/fifo"), 0600U);
}
