// Removal of entries and trees in open directories.
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "corekit/fs/Confinement.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "tests/support/AnsweredCalls.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
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

TEST(RemoveTree, RefusesADirectoryThatWasMadeMeanwhile) {
    const Workspace dir;
    testfiles::Write(dir / "tree/a/file", "");
    testsupport::InChild([&] {
        testsupport::AnswerStatx([](std::string_view, struct statx& info) {
            info.stx_mask = STATX_BTIME;
            info.stx_btime.tv_sec = std::int64_t{1} << 33;  // in the year 2242
            return true;
        });
        EXPECT_EQ(RemoveTree({AT_FDCWD, dir / "tree"}), Result(EBUSY));
        return 0;
    });
    EXPECT_TRUE(testfiles::Exists(dir / "tree/a/file"));
}

TEST(RemoveTree, WorksWhereNobodyKnowsWhenADirectoryWasMade) {
    const Workspace dir;
    const auto remove = [&] { return RemoveTree({AT_FDCWD, dir / "tree"}).Code(); };
    testfiles::Write(dir / "tree/a/file", "");
    EXPECT_EQ(WithFailing({{SYS_statx, EPERM}}, remove), 0);
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
    testfiles::Write(dir / "tree/a/file", "");
    testsupport::InChild([&] {
        testsupport::AnswerStatx([](std::string_view, struct statx&) { return true; });
        EXPECT_EQ(remove(), 0);
        return 0;
    });
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

namespace {

/// What removing the tree returns while somebody adds an entry whenever it is empty, `most` times.
int RemoveWhileAdding(const std::string& tree, int most, int& made) {
    testfiles::Write(tree + "/file", "");
    auto* const count = static_cast<int*>(
        mmap(nullptr, sizeof made, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const int result = testsupport::InChild([&] {
        testsupport::JudgeCalls({SYS_unlinkat}, [=](const seccomp_notif& call) -> testsupport::Verdict {
            if (call.data.args[2] == AT_REMOVEDIR && *count < most) {
                const std::string name = tree + "/new-" + std::to_string(++*count);
                close(open(name.c_str(), O_CREAT | O_WRONLY, 0600));
            }
            return std::nullopt;
        });
        return RemoveTree({AT_FDCWD, tree}).Code();
    });
    made = *count;
    munmap(count, sizeof made);
    return result;
}

}  // namespace

TEST(RemoveTree, ReadsAgain_WhereSomethingIsAddedMeanwhile) {
    const Workspace dir;
    int made = 0;
    EXPECT_EQ(RemoveWhileAdding(dir / "tree", 3, made), 0);
    EXPECT_EQ(made, 3);
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
    EXPECT_EQ(RemoveWhileAdding(dir / "tree", 1000, made), ENOTEMPTY);
    EXPECT_LE(made, 101);
}

TEST(RemoveTree, TakesWhatIsGoneMeanwhileForRemoved) {
    const Workspace dir;
    testfiles::Write(dir / "tree/file", "");
    EXPECT_EQ(WithFailing({{SYS_unlinkat, ENOENT}},
                          [&] {
                              return RemoveTree({AT_FDCWD, dir / "tree"}).Code();
                          }),
              0);
}

TEST(RemoveTree, GoesInto_WhatSomeFileSystemsCallThere) {
    const Workspace dir;
    testfiles::Write(dir / "tree/sub/file", "");
    testsupport::InChild([&] {
        testsupport::JudgeCalls({SYS_unlinkat}, [&](const seccomp_notif& call) -> testsupport::Verdict {
            const auto* const name = reinterpret_cast<const char*>(call.data.args[1]);
            if (call.data.args[2] != AT_REMOVEDIR) return std::nullopt;
            const std::string path =
                *name == '/' ? name : "/proc/self/fd/" + std::to_string(call.data.args[0]) + "/" + name;
            return fs::is_empty(path) ? testsupport::Verdict() : -EEXIST;
        });
        EXPECT_TRUE(RemoveTree({AT_FDCWD, dir / "tree"}));
        return 0;
    });
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(RemoveTree, FailsWithoutAPath_WhereProcIsMissing) {
    const Workspace dir;
    testfiles::Write(dir / "tree/file", "");
    WithFailing({{SYS_unlinkat, EIO}, {SYS_readlinkat, ENOENT}, {SYS_readlink, ENOENT}}, [&] {
        const Result result = RemoveTree({AT_FDCWD, dir / "tree"});
        EXPECT_EQ(result.Code(), EIO);
        EXPECT_TRUE(result.Path().IsEmpty());
        return 0;
    });
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
    corekit::EndConfinement();
    EXPECT_THAT(TakenAway(), IsEmpty());
    EXPECT_TRUE(testfiles::Exists("/opt/agent/a/file"));
}

TEST_F(TreesTakenAway, StayOutOfAFileSystemOfTheirOwn) {
    const Mount mount = Mount::Tmpfs("/opt/own");
    testfiles::Write("/opt/own/tree/file", "");
    EXPECT_TRUE(Remove("/opt/own", "tree"));
    EXPECT_THAT(NamesIn("/opt/own"), IsEmpty());
}

TEST_F(TreesTakenAway, AreRemovedOneByOne_WhereTheKernelDoesNotTell) {
    for (const bool isTopUnknown : {true, false}) {
        SCOPED_TRACE(isTopUnknown);
        testfiles::Write("/opt/agent/a/file", "");
        testsupport::InChild([&] {
            testsupport::AnswerStatx(
                [&](std::string_view name, struct statx&) { return name.empty() == isTopUnknown; });
            EXPECT_TRUE(Remove());
            return 0;
        });
        EXPECT_FALSE(testfiles::Exists("/opt/agent"));
        EXPECT_THAT(TakenAway(), IsEmpty());
    }
}

TEST_F(TreesTakenAway, AreGoneOrThatIsAFailure_WhateverFails) {
    const int points = testsupport::FailInTurn(
        {SYS_openat, SYS_statx}, EIO, [] { testfiles::Write("/opt/deep/below/agent/a/file", ""); },
        [] { return Remove("/opt/deep/below").Code(); },
        [](int result) { EXPECT_EQ(result == 0, !testfiles::Exists("/opt/deep/below/agent")); });
    EXPECT_GE(points, 10);
    EXPECT_FALSE(TakenAway().empty());
}
