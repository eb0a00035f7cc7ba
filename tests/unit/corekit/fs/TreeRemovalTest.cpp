// Removal of entries and trees in open directories.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/syscall.h>

#include "corekit/fs/detail/TreeRemoval.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::RemoveEntry;
using corekit::RemoveTree;
using corekit::Result;
using testfiles::NamesIn;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Mount;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace fs = std::filesystem;

TEST(RemoveEntry, RemovesEachKind) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    testfiles::Write(dir / "tree/a/file", "");
    fs::create_directory(dir / "empty");
    fs::create_directory_symlink("/etc", dir / "link");
    for (const char* name : {"file", "tree", "empty", "link"})
        EXPECT_TRUE(RemoveEntry({AT_FDCWD, dir / name})) << name;
    EXPECT_EQ(RemoveEntry({AT_FDCWD, dir / "none"}), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(RemoveEntry, LeavesAMountPointAsItIs) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "mounted");
    testfiles::Write(dir / "mounted/file", "");
    EXPECT_EQ(RemoveEntry({AT_FDCWD, dir / "mounted"}), Result(EBUSY));
    EXPECT_THAT(NamesIn(dir / "mounted"), ElementsAre("file"));
}

TEST(RemoveTree, FollowsNoLinkAtItsTop) {
    const Workspace dir;
    testfiles::Write(dir / "kept/file", "");
    fs::create_directory_symlink("kept", dir / "link");
    EXPECT_EQ(RemoveTree({AT_FDCWD, dir / "link"}), Result(ENOTDIR));
    EXPECT_THAT(NamesIn(dir / "kept"), ElementsAre("file"));
}

TEST(RemoveTree, ReturnsTheFirstFailureAndGoesOn) {
    const Workspace dir;
    testfiles::Write(dir / "tree/a/file", "");
    testfiles::Write(dir / "tree/b/file", "");
    const int failure = WithFailing({{SYS_openat, EACCES}}, [&] {
        return RemoveTree({AT_FDCWD, dir / "tree"}).Code();
    });
    EXPECT_EQ(failure, EACCES);
    EXPECT_EQ(WithFailing({{SYS_getdents64, EIO}},
                          [&] {
                              return RemoveTree({AT_FDCWD, dir / "tree"}).Code();
                          }),
              EIO);
    EXPECT_EQ(WithFailing({{SYS_unlinkat, EPERM}},
                          [&] {
                              return RemoveTree({AT_FDCWD, dir / "tree"}).Code();
                          }),
              EPERM);
    EXPECT_TRUE(testfiles::Exists(dir / "tree/a/file"));
    EXPECT_TRUE(testfiles::Exists(dir / "tree/b/file"));
}
