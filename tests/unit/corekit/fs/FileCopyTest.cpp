// Copies of files, links and special files.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "corekit/fs/detail/FileCopy.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::CopyFileEntry;
using corekit::Result;
using testfiles::NamesIn;
using testing::ElementsAre;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

Result Copy(const std::string& from, const std::string& to) {
    return CopyFileEntry({AT_FDCWD, from}, {AT_FDCWD, to});
}

}  // namespace

TEST(CopyFileEntry, CopiesEachKindAsWhatItIs) {
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

TEST(CopyFileEntry, CopiesOnlyToANameThatIsFree) {
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

TEST(CopyFileEntry, LeavesDirectoriesToOthers) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    EXPECT_EQ(Copy(dir / "sub", dir / "to"), Result(EISDIR));
    EXPECT_EQ(Copy(dir / "none", dir / "to"), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("sub"));
}

TEST(CopyFileEntry, LeavesNothing_WhenAStepFails) {
    const Workspace dir;
    testfiles::Write(dir / "file", "content");
    for (const int number : {SYS_write, SYS_fchmod, SYS_utimensat, SYS_fsync}) {
        const int failure =
            WithFailing({{number, EIO}}, [&] { return Copy(dir / "file", dir / "to").Code(); });
        EXPECT_EQ(failure, EIO) << number;
        EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file")) << number;
    }
}
