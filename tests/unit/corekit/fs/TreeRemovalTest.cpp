// Removal of entries and trees in open directories.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/syscall.h>

#include "corekit/fs/Dir.h"
#include "corekit/fs/HostDirectories.h"
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

namespace {

/// Trees go to a name at the top of the file system of /opt.
class TreesTakenAway : public testing::Test {
  protected:
    TreesTakenAway() {
        testfiles::Write("/opt/agent/a/file", "");
        corekit::Dir::TakeTreesAwayTo(".away-");
    }
    ~TreesTakenAway() override {
        corekit::Dir::TakeTreesAwayTo("");
        for (const auto& entry : fs::directory_iterator("/opt")) fs::remove_all(entry);
    }
    static Result Remove(const std::string& directory = "/opt", const std::string& name = "agent") {
        const auto open = corekit::OpenDirectory(directory);
        return open ? RemoveTree({open->Get(), name}) : open.error();
    }
    static std::vector<std::string> TakenAway() {
        std::vector<std::string> names = NamesIn("/opt");
        std::erase_if(names, [](const std::string& name) { return !name.starts_with(".away-"); });
        return names;
    }
};

}  // namespace

TEST_F(TreesTakenAway, AreWhole) {
    EXPECT_TRUE(Remove());
    EXPECT_FALSE(testfiles::Exists("/opt/agent"));
    ASSERT_EQ(TakenAway().size(), 1U);
    EXPECT_TRUE(testfiles::Exists("/opt/" + TakenAway().front() + "/a/file"));
}

TEST_F(TreesTakenAway, HaveNothingMountedInThem) {
    const Mount mount = Mount::Tmpfs("/opt/agent/mounted");
    testfiles::Write("/opt/agent/mounted/file", "");
    EXPECT_EQ(Remove(), Result(EBUSY));
    EXPECT_THAT(TakenAway(), IsEmpty());
    EXPECT_THAT(NamesIn("/opt/agent"), ElementsAre("mounted"));
    EXPECT_THAT(NamesIn("/opt/agent/mounted"), ElementsAre("file"));
}

TEST_F(TreesTakenAway, AreWithinWhatMayBeRemoved) {
    fs::create_directory("/opt/agent/b");
    ASSERT_TRUE(corekit::ConfineRemovals(L"/opt/agent/b"));
    EXPECT_EQ(Remove(), Result(EXDEV));
    corekit::ForgetOwn();
    EXPECT_THAT(TakenAway(), IsEmpty());
    EXPECT_TRUE(testfiles::Exists("/opt/agent/a/file"));
}

TEST_F(TreesTakenAway, StayOutOfAFileSystemOfTheirOwn) {
    const Mount mount = Mount::Tmpfs("/opt/own");
    testfiles::Write("/opt/own/tree/file", "");
    EXPECT_TRUE(Remove("/opt/own", "tree"));
    EXPECT_THAT(NamesIn("/opt/own"), IsEmpty());
}
