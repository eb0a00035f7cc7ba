// Ways down a tree and back.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/DirectoryStack.h"
#include "corekit/os/SystemCall.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::DirectoryStack;
using corekit::Result;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

constexpr int kDepth = 200;  // more than stay open

ino_t InodeOf(int fd) {
    struct stat info {};
    EXPECT_EQ(fstat(fd, &info), 0);
    return info.st_ino;
}

int OpenDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

std::string DeepPath(const std::string& top, int depth) {
    std::string path = top;
    for (int level = 0; level < depth; ++level) path += "/d";
    return path;
}

}  // namespace

TEST(DirectoryStack, ComesBackTheWayItWent) {
    const Workspace dir;
    fs::create_directories(DeepPath(dir.Path(), kDepth));
    const int before = OpenDescriptors();
    DirectoryStack way(corekit::OpenDirectory(dir.Path()).value());
    std::vector<ino_t> levels;
    for (int level = 0; level < kDepth; ++level) {
        levels.push_back(InodeOf(way.Fd()));
        ASSERT_TRUE(way.Enter("d")) << level;
    }
    EXPECT_LT(OpenDescriptors() - before, 70);
    for (int level = kDepth - 1; level >= 0; --level) {
        ASSERT_TRUE(way.Leave()) << level;
        EXPECT_EQ(InodeOf(way.Fd()), levels[static_cast<std::size_t>(level)]) << level;
    }
}

TEST(DirectoryStack, EntersNoLinkAndNoFile) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    fs::create_directory_symlink("sub", dir / "link");
    testfiles::Write(dir / "file", "");
    DirectoryStack way(corekit::OpenDirectory(dir.Path()).value());
    EXPECT_EQ(way.Enter("link"), Result(ENOTDIR));
    EXPECT_EQ(way.Enter("file"), Result(ENOTDIR));
    EXPECT_EQ(way.Enter("none"), Result(ENOENT));
    EXPECT_TRUE(way.Enter("sub"));
    EXPECT_TRUE(way.Leave());
}

TEST(DirectoryStack, FindsNoWayBackOutOfADirectoryThatWasMovedAway) {
    const Workspace dir;
    fs::create_directories(DeepPath(dir / "top", kDepth));
    fs::create_directory(dir / "elsewhere");
    DirectoryStack way(corekit::OpenDirectory(dir / "top").value());
    for (int level = 0; level < kDepth; ++level) ASSERT_TRUE(way.Enter("d"));
    fs::rename(DeepPath(dir / "top", kDepth), dir / "elsewhere/d");
    EXPECT_EQ(way.Leave(), Result(ESTALE));
}
