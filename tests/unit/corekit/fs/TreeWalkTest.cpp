// Walks through trees, whatever is done there.
#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "corekit/fs/detail/TreeWalk.h"
#include "tests/support/AnsweredCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::DirEntry;
using corekit::Result;
using corekit::TreeWalk;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

/// Notes the names that it meets, enters and leaves.
class Notes : public TreeWalk {
  public:
    explicit Notes(AfterFailure afterFailure = AfterFailure::GoOn) : TreeWalk(afterFailure) {}

    std::vector<std::string> met;
    std::vector<std::string> way;
    std::string failing;  // the name that fails when it is met or entered
    unsigned readings = 1;
    std::function<void(const DirEntry&)> meanwhile = [](const DirEntry&) {};

    using TreeWalk::AfterFailure;

  private:
    Action OnEntry(int, const DirEntry& entry) override {
        met.emplace_back(entry.name);
        meanwhile(entry);
        if (entry.name == failing && entry.type != DT_DIR) Fail(Result(EIO));
        return entry.type == DT_DIR ? Action::GoIn : Action::Done;
    }
    Result Enter(int, const std::string& name) override {
        way.push_back("+" + name);
        return name == failing ? Result(EACCES) : Result();
    }
    Reading OnDirectoryDone(int, const std::string& name, unsigned reading) override {
        way.push_back("-" + name);
        return reading < readings ? Reading::Again : Reading::Done;
    }
};

}  // namespace

TEST(TreeWalk, VisitsEveryEntryAndFollowsNoLink) {
    const Workspace dir;
    testfiles::Write(dir / "tree/sub/deep/file", "");
    testfiles::Write(dir / "tree/other", "");
    fs::create_directory_symlink("sub", dir / "tree/link");
    Notes notes;
    EXPECT_TRUE(notes.Walk({AT_FDCWD, dir / "tree"}));
    EXPECT_THAT(notes.met, UnorderedElementsAre("sub", "deep", "file", "other", "link"));
    const std::string top = dir / "tree";
    EXPECT_THAT(notes.way, ElementsAre("+" + top, "+sub", "+deep", "-deep", "-sub", "-" + top));
}

TEST(TreeWalk, ReadsADirectoryAgain_WhenAsked) {
    const Workspace dir;
    testfiles::Write(dir / "tree/file", "");
    Notes notes;
    notes.readings = 3;
    EXPECT_TRUE(notes.Walk({AT_FDCWD, dir / "tree"}));
    EXPECT_THAT(notes.met, ElementsAre("file", "file", "file"));
}

TEST(TreeWalk, GoesOnAfterAFailureOrStops) {
    const Workspace dir;
    for (const char* name : {"tree/a/x", "tree/b/x", "tree/c/x"}) testfiles::Write(dir / name, "");
    Notes goingOn;
    goingOn.failing = "x";
    EXPECT_EQ(goingOn.Walk({AT_FDCWD, dir / "tree"}), Result(EIO));
    EXPECT_EQ(std::ranges::count(goingOn.met, "x"), 3);
    Notes stopping(Notes::AfterFailure::Stop);
    stopping.failing = "x";
    EXPECT_EQ(stopping.Walk({AT_FDCWD, dir / "tree"}), Result(EIO));
    EXPECT_EQ(std::ranges::count(stopping.met, "x"), 1);
}

TEST(TreeWalk, ReadsNoDirectoryThatCouldNotBeEntered) {
    const Workspace dir;
    for (const char* name : {"tree/a/1", "tree/b/2"}) testfiles::Write(dir / name, "");
    Notes notes;
    notes.failing = "a";
    EXPECT_EQ(notes.Walk({AT_FDCWD, dir / "tree"}), Result(EACCES));
    EXPECT_THAT(notes.met, UnorderedElementsAre("a", "b", "2"));
}

TEST(TreeWalk, VisitsAllOfAWideTreeOfWideDirectories) {
    const Workspace dir;
    const std::string filler(200, 'f');
    for (int i = 0; i < 8000; ++i) fs::create_directories(dir / ("tree/" + filler + std::to_string(i)));
    for (int i = 0; i < 300; ++i)
        testfiles::Write(dir / ("tree/" + filler + std::to_string(i) + "/sub/" + filler), "");
    Notes notes;
    EXPECT_TRUE(notes.Walk({AT_FDCWD, dir / "tree"}));
    EXPECT_EQ(notes.met.size(), 8600U);
    EXPECT_EQ(notes.way.size(), 2 * (1 + 8000 + 300));
}

TEST(TreeWalk, PassesOverADirectoryThatHasGone) {
    const Workspace dir;
    fs::create_directories(dir / "tree/sub");
    Notes notes;
    notes.meanwhile = [&](const DirEntry&) { fs::remove(dir / "tree/sub"); };
    EXPECT_TRUE(notes.Walk({AT_FDCWD, dir / "tree"}));
    EXPECT_THAT(notes.met, ElementsAre("sub"));
    EXPECT_EQ(notes.way.size(), 2U);  // into the top and out again
}

TEST(TreeWalk, ComesToAnEnd_WhereADirectoryHasNone) {
    const Workspace dir;
    fs::create_directory(dir / "tree");
    testsupport::InChild([&] {
        testsupport::MakeEndless();
        EXPECT_EQ(Notes().Walk({AT_FDCWD, dir / "tree"}), Result(EBUSY));
        return 0;
    });
}
