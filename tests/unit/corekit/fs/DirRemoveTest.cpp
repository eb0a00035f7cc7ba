// Removing directory trees: completely, and never anything else.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "corekit/fs/Confinement.h"
#include "corekit/fs/Dir.h"
#include "tests/support/FailingCall.h"
#include "tests/support/InChild.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::Dir;
using corekit::Result;
using corekit::String;
using testfiles::NamesIn;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Mount;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

/// A chain of directories below `top`, each with a file beside the next one.
void MakeDeepTree(const std::string& top, int depth) {
    fs::create_directory(top);
    ASSERT_EQ(chdir(top.c_str()), 0);
    for (int level = 0; level < depth; ++level) {
        ASSERT_EQ(mkdir("d", 0755), 0);
        ASSERT_EQ(symlink("x", "link"), 0);
        ASSERT_EQ(chdir("d"), 0);
    }
    ASSERT_EQ(chdir("/"), 0);
}

void MakeWideDirectory(const std::string& path, int count, const std::string& stem = "event") {
    fs::create_directories(path);
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(mknod((path + "/" + stem + "-" + std::to_string(i) + ".kse").c_str(), S_IFREG | 0644, 0),
                  0);
}

long MaximumKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

/// The names change places whenever the calling process is about to open the first one's last part.
void SwapBeforeOpening(const std::string& path, const std::string& other) {
    const auto swap = [path, other](const seccomp_notif& call) -> testsupport::Verdict {
        const std::string name = reinterpret_cast<const char*>(call.data.args[1]);
        if (name == fs::path(path).filename())
            renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE);
        return std::nullopt;
    };
    testsupport::JudgeCalls({SYS_openat}, swap);
}

}  // namespace

TEST(DirRemove, LeavesWhatTakesThePlaceOfTheDirectoryThatRemovalsAreConfinedTo) {
    const Workspace dir;
    testfiles::Write(dir / "base/file", "x");
    testfiles::Write(dir / "other/precious", "x");
    ASSERT_TRUE(corekit::ConfineRemovals(dir("base")));
    testsupport::InChild([&] {
        SwapBeforeOpening(dir / "base", dir / "other");
        EXPECT_EQ(Dir::Remove(dir("base")), Result(EXDEV));
        return 0;
    });
    EXPECT_TRUE(testfiles::Exists(dir / "base/precious"));
}

TEST(DirRemove, RemovesEntriesOfEveryKind) {
    const Workspace dir;
    testfiles::Write(dir / "tree/a/b/file", "x");
    testfiles::Write(dir / "tree/.hidden", "x", 0);
    testfiles::Write(dir / "kept/file", "x");
    fs::create_directories(dir / "tree/empty/empty");
    fs::create_symlink(dir / "kept", dir / "tree/link");
    fs::create_symlink("nowhere", dir / "tree/a/dangling");
    fs::create_hard_link(dir / "kept/file", dir / "tree/a/hard");
    ASSERT_EQ(mkfifo((dir / "tree/fifo").c_str(), 0600), 0);
    EXPECT_TRUE(Dir::Remove(dir("tree")));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("kept"));
    EXPECT_EQ(testfiles::Read(dir / "kept/file"), "x");
}

TEST(DirRemove, TakesEverySpelling) {
    const Workspace dir;
    fs::create_symlink(".", dir / "link");
    for (const char* spelling : {"tree", "tree/", "tree///", "./tree", "link/tree", "link/./link/tree/"}) {
        testfiles::Write(dir / "tree/file", "x");
        EXPECT_TRUE(Dir::Remove(dir(spelling))) << spelling;
        EXPECT_FALSE(testfiles::Exists(dir / "tree")) << spelling;
    }
    testfiles::Write(dir / "tree/file", "x");
    fs::current_path(dir.Path());
    EXPECT_TRUE(Dir::Remove(L"tree"));
    fs::current_path("/");
    EXPECT_FALSE(testfiles::Exists(dir / "tree"));
}

TEST(DirRemove, DoesNothingForAnEmptyPath) {
    const Workspace dir;
    testfiles::Write(dir / "file", "x");
    fs::current_path(dir.Path());
    EXPECT_TRUE(Dir::Remove(L""));
    fs::current_path("/");
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file"));
}

TEST(DirRemove, RefusesWhatIsNoDirectoryToRemove) {
    const Workspace dir;
    testfiles::Write(dir / "file", "x");
    testfiles::Write(dir / "tree/file", "x");
    EXPECT_EQ(Dir::Remove(dir("file")), Result(ENOTDIR));
    EXPECT_EQ(Dir::Remove(dir("none")), Result(ENOENT));
    EXPECT_EQ(Dir::Remove(dir("tree/.")), Result(EISDIR));
    EXPECT_EQ(Dir::Remove(dir("tree/..")), Result(EISDIR));
    EXPECT_EQ(Dir::Remove(dir("tree") + std::wstring(1, L'\0')), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file", "tree"));
    EXPECT_THAT(NamesIn(dir / "tree"), ElementsAre("file"));
}

TEST(DirRemove, RemovesALinkAndNotWhatItLeadsTo) {
    const Workspace dir;
    testfiles::Write(dir / "kept/file", "x");
    fs::create_directory_symlink("kept", dir / "link");
    fs::create_directory_symlink("kept", dir / "slashed");
    fs::create_directory_symlink("nowhere", dir / "dangling");
    EXPECT_TRUE(Dir::Remove(dir("link")));
    EXPECT_TRUE(Dir::Remove(dir("dangling")));
    EXPECT_TRUE(Dir::Remove(dir("slashed/")));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("kept"));
    EXPECT_THAT(NamesIn(dir / "kept"), ElementsAre("file"));
}

TEST(DirRemove, RefusesTheDirectoriesOfTheHost) {
    const Workspace dir;
    fs::create_directory_symlink("/usr", dir / "usr");
    fs::create_directory(dir / "mounted");
    const Mount mount = Mount::Bind("/usr/local", dir / "mounted");
    for (const String& path : {String(L"/"), String(L"/usr"), String(L"//usr/"), String(L"/opt/../usr"),
                               String(L"/lib"), String(L"/var/lib"), String(L"/etc/init.d"), dir("usr"),
                               dir("usr/"), dir("usr/bin"), dir("mounted"), dir("mounted/bin")}) {
        EXPECT_EQ(Dir::Remove(path), Result(EPERM)) << path.Utf8();
    }
    fs::current_path("/");
    EXPECT_EQ(Dir::Remove(L"opt"), Result(EPERM));
    EXPECT_TRUE(fs::is_directory("/usr/local/bin"));
    EXPECT_TRUE(testfiles::Exists(dir / "usr"));
}

TEST(DirRemove, LeavesWhatIsMountedAndRemovesTheRest) {
    const Workspace dir;
    for (const char* name : {"tree/a/file", "tree/z/file", "tree/m/mounted/x", "other/file"})
        testfiles::Write(dir / name, "x");
    const Mount foreign = Mount::Tmpfs(dir / "tree/m/mounted");
    testfiles::Write(dir / "tree/m/mounted/file", "x");
    fs::create_directory(dir / "tree/bound");
    const Mount bound = Mount::Bind(dir / "other", dir / "tree/bound");
    EXPECT_EQ(Dir::Remove(dir("tree")), Result(EBUSY));
    EXPECT_THAT(NamesIn(dir / "tree"), ElementsAre("bound", "m"));
    EXPECT_THAT(NamesIn(dir / "tree/m/mounted"), ElementsAre("file"));
    EXPECT_THAT(NamesIn(dir / "other"), ElementsAre("file"));
}

TEST(DirRemove, EmptiesADirectoryThatIsAMountPointItself) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "tree");
    testfiles::Write(dir / "tree/a/file", "x");
    EXPECT_EQ(Dir::Remove(dir("tree")), Result(EBUSY));
    EXPECT_THAT(NamesIn(dir / "tree"), IsEmpty());
}

TEST(DirRemove, GoesOnAfterAFailureInAWideDirectory) {
    const Workspace dir;
    testfiles::Write(dir / "other", "x");
    const std::string stem(200, 'n');
    MakeWideDirectory(dir / "tree", 40000, stem);  // read in three batches
    const std::string busy = stem + "-20000.kse";
    const Mount mount = Mount::Bind(dir / "other", dir / ("tree/" + busy));
    EXPECT_EQ(Dir::Remove(dir("tree")), Result(EBUSY));
    EXPECT_THAT(NamesIn(dir / "tree"), ElementsAre(busy));
}

TEST(DirRemove, LeavesAReadOnlyFileSystemAsItIs) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "mounted");
    testfiles::Write(dir / "mounted/tree/a/file", "x");
    mount.MakeReadOnly();
    EXPECT_EQ(Dir::Remove(dir("mounted/tree")), Result(EROFS));
    EXPECT_TRUE(testfiles::Exists(dir / "mounted/tree/a/file"));
}

TEST(DirRemove, RemovesTreesDeeperThanDescriptorsAndPathsReach) {
    const Workspace dir;
    MakeDeepTree(dir / "tree", 10000);
    const int failure = WithFailing({}, [&] {
        const rlimit few = {100, 100};
        if (setrlimit(RLIMIT_NOFILE, &few) != 0) return -1;
        return Dir::Remove(dir("tree")).Code();
    });
    EXPECT_EQ(failure, 0);
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(DirRemove, NeedsNoMoreMemoryForMoreEntries) {
    const Workspace dir;
    MakeWideDirectory(dir / "tree", 60000, std::string(200, 'n'));  // over 12 MiB of names
    const int mebibytes = WithFailing({}, [&] {
        const long before = MaximumKilobytes();
        const Result result = Dir::Remove(dir("tree"));
        return result ? static_cast<int>((MaximumKilobytes() - before) / 1024) : 255;
    });
    EXPECT_LT(mebibytes, 8);
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(DirRemove, RemovesADirectoryOfManyDirectories) {
    const Workspace dir;
    for (int i = 0; i < 3000; ++i) testfiles::Write(dir / ("tree/" + std::to_string(i) + "/a/file"), "");
    EXPECT_TRUE(Dir::Remove(dir("tree")));
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(DirRemove, FollowsNoLinkThatIsPutInPlaceOfADirectory) {
    const Workspace dir;
    testfiles::Write(dir / "victim/precious", "x");
    testfiles::Write(dir / "tree/sub/file", "x");
    fs::create_directory_symlink(dir / "victim", dir / "link");
    testsupport::InChild([&] {
        SwapBeforeOpening(dir / "tree/sub", dir / "link");
        EXPECT_EQ(Dir::Remove(dir("tree")), Result(ENOTDIR));
        return 0;
    });
    EXPECT_TRUE(testfiles::Exists(dir / "victim/precious"));
    EXPECT_THAT(NamesIn(dir / "link"), ElementsAre("file")) << "the directory that went elsewhere";
}
