// Copies of whole trees.
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

#include "corekit/fs/detail/TreeCopy.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::CopyEntry;
using corekit::Result;
using testfiles::NamesIn;
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

TEST(CopyEntry, TouchesNothingThatHasTheNameAlready) {
    const Workspace dir;
    testfiles::Write(dir / "tree/file", "1");
    testfiles::Write(dir / "present/other", "2");
    EXPECT_EQ(Copy(dir / "tree", dir / "present"), Result(EEXIST));
    EXPECT_THAT(NamesIn(dir / "present"), ElementsAre("other"));
}

TEST(CopyEntry, LeavesNothing_WhenAStepFails) {
    const Workspace dir;
    testfiles::Write(dir / "tree/a/file", "1");
    for (const int number : {SYS_write, SYS_fchmod, SYS_utimensat, SYS_fsync}) {
        const int failure =
            WithFailing({{number, EIO}}, [&] { return Copy(dir / "tree", dir / "to").Code(); });
        EXPECT_EQ(failure, EIO) << number;
        EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("tree")) << number;
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
