// Renaming and linking files in one step.
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "corekit/fs/File.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/Workspace.h"

using corekit::Result;
using testfiles::NamesIn;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Mount;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace File = corekit::File;
namespace fs = std::filesystem;

TEST(FileRename, ReplacesAnExistingTarget) {
    const Workspace dir;
    testfiles::Write(dir / "from", "new", 0600);
    testfiles::Write(dir / "to", "old");
    ASSERT_TRUE(File::Rename(dir("from"), dir("to")));
    EXPECT_EQ(testfiles::Read(dir / "to"), "new");
    EXPECT_EQ(testfiles::Mode(dir / "to"), 0600U);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("to"));
}

TEST(FileRename, WorksAcrossFileSystems) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    testfiles::Write(dir / "from", "new", 0640);
    ASSERT_EQ(chmod((dir / "from").c_str(), 0640), 0);
    testfiles::Write("/opt/other/to", "old");
    fs::last_write_time(dir / "from", fs::file_time_type(std::chrono::hours(1)));
    const auto time = fs::last_write_time(dir / "from");
    ASSERT_TRUE(File::Rename(dir("from"), L"/opt/other/to"));
    EXPECT_EQ(testfiles::Read("/opt/other/to"), "new");
    EXPECT_EQ(testfiles::Mode("/opt/other/to"), 0640U);
    EXPECT_EQ(fs::last_write_time("/opt/other/to"), time);
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
    EXPECT_THAT(NamesIn("/opt/other"), ElementsAre("to"));
}

TEST(FileRename, MovesLinksAndDirectoriesAcrossFileSystemsToo) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    testfiles::Write(dir / "sub/deep/file", "x");
    fs::create_symlink("/etc", dir / "link");
    ASSERT_TRUE(File::Rename(dir("sub"), L"/opt/other/sub"));
    ASSERT_TRUE(File::Rename(dir("link"), L"/opt/other/link"));
    EXPECT_EQ(testfiles::Read("/opt/other/sub/deep/file"), "x");
    EXPECT_EQ(fs::read_symlink("/opt/other/link"), "/etc");
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(FileRename, MovesADirectoryOfAnOverlaysLowerLayer) {
    const Workspace dir;
    const Mount layers = Mount::Tmpfs(dir / "layers");
    testfiles::Write(dir / "layers/lower/sub/file", "x");
    for (const char* name : {"layers/upper", "layers/work", "merged"}) fs::create_directory(dir / name);
    const Mount overlay = Mount::Overlay(dir / "layers", dir / "merged");
    ASSERT_EQ(rename((dir / "merged/sub").c_str(), (dir / "merged/to").c_str()), -1);
    ASSERT_EQ(errno, EXDEV);
    EXPECT_TRUE(File::Rename(dir("merged/sub"), dir("merged/to")));
    EXPECT_THAT(NamesIn(dir / "merged"), ElementsAre("to"));
    EXPECT_EQ(testfiles::Read(dir / "merged/to/file"), "x");
}

TEST(FileRename, LosesNothingOnAFullDisk) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other", "size=64k");
    testfiles::Write(dir / "from", std::string(100000, 'x'));
    testfiles::Write("/opt/other/to", "old");
    EXPECT_EQ(File::Rename(dir("from"), L"/opt/other/to"), Result(ENOSPC));
    EXPECT_EQ(testfiles::Read(dir / "from"), std::string(100000, 'x'));
    EXPECT_EQ(testfiles::Read("/opt/other/to"), "old");
    EXPECT_THAT(NamesIn("/opt/other"), ElementsAre("to"));
}

TEST(FileRename, LosesNothing_WhenTheFlushFails) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    testfiles::Write(dir / "from", "new");
    testfiles::Write("/opt/other/to", "old");
    const int failure =
        WithFailing({{SYS_fsync, EIO}}, [&] { return File::Rename(dir("from"), L"/opt/other/to").Code(); });
    EXPECT_EQ(failure, EIO);
    EXPECT_EQ(testfiles::Read(dir / "from"), "new");
    EXPECT_EQ(testfiles::Read("/opt/other/to"), "old");
    EXPECT_THAT(NamesIn("/opt/other"), ElementsAre("to"));
}

TEST(FileRename, Fails_WhenTheDirectoryCannotBeFlushed) {
    const Workspace dir;
    testfiles::Write(dir / "from", "x");
    const int failure =
        WithFailing({{SYS_fsync, EIO}}, [&] { return File::Rename(dir("from"), dir("to")).Code(); });
    EXPECT_EQ(failure, EIO);
    EXPECT_EQ(testfiles::Read(dir / "to"), "x");
}

TEST(FileRename, Fails_WhereRenameFails) {
    const Workspace dir;
    testfiles::Write(dir / "file", "x");
    fs::create_directory(dir / "sub");
    EXPECT_EQ(File::Rename(dir("none"), dir("to")), Result(ENOENT));
    EXPECT_EQ(File::Rename(dir("file"), dir("none/to")), Result(ENOENT));
    EXPECT_EQ(File::Rename(dir("file"), dir("sub")), Result(EISDIR));
    EXPECT_EQ(File::Rename(L"", dir("to")), Result(ENOENT));
    EXPECT_EQ(File::Rename(dir("file"), L""), Result(ENOENT));
    EXPECT_EQ(testfiles::Read(dir / "file"), "x");
}

TEST(FileSymLink, MakesAndReplacesLinks) {
    const Workspace dir;
    testfiles::Write(dir / "file", "old");
    fs::create_directory(dir / "elsewhere");
    fs::create_symlink("elsewhere", dir / "toDirectory");
    for (const char* name : {"new", "file", "toDirectory"}) {
        ASSERT_TRUE(File::SymLink(L"/usr/bin/x", dir(name))) << name;
        EXPECT_EQ(fs::read_symlink(dir / name), "/usr/bin/x") << name;
    }
    EXPECT_THAT(NamesIn(dir / "elsewhere"), IsEmpty());
    EXPECT_EQ(NamesIn(dir.Path()).size(), 4U);
}

TEST(FileSymLink, KeepsWhatStandsThere_WhenAsked) {
    const Workspace dir;
    testfiles::Write(dir / "file", "old");
    EXPECT_EQ(File::SymLink(L"x", dir("file"), File::IfPresent::Keep), Result(EEXIST));
    EXPECT_EQ(testfiles::Read(dir / "file"), "old");
    EXPECT_TRUE(File::SymLink(L"x", dir("new"), File::IfPresent::Keep));
    EXPECT_EQ(fs::read_symlink(dir / "new"), "x");
}

TEST(FileSymLink, LeavesADirectoryAlone) {
    const Workspace dir;
    testfiles::Write(dir / "sub/file", "x");
    EXPECT_EQ(File::SymLink(L"x", dir("sub")), Result(EISDIR));
    EXPECT_EQ(File::SymLink(L"", dir("new")), Result(ENOENT));
    EXPECT_EQ(File::SymLink(L"x", dir("none/new")), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("sub"));
    EXPECT_EQ(testfiles::Read(dir / "sub/file"), "x");
}
