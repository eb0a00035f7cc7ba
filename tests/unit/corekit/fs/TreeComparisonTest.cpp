// When one entry holds all of another.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

#include "corekit/fs/TreeComparison.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Workspace.h"

using testfiles::Write;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

class Comparison : public testing::Test {
  protected:
    bool IsHeld() const {
        return corekit::ContainsCopyOf({AT_FDCWD, m_dir / "copy"}, {AT_FDCWD, m_dir / "original"});
    }

    const Workspace m_dir{};
};

}  // namespace

TEST_F(Comparison, ComparesFilesByTheirContent) {
    const std::string large(200'000, 'x');
    struct Case {
        std::string copy;
        std::string original;
        bool isHeld;
    };
    const Case cases[] = {{"", "", true},
                          {"text", "text", true},
                          {"text", "texT", false},
                          {"text", "tex", false},
                          {"tex", "text", false},
                          {large, large, true},
                          {large, large + "x", false},
                          {large + "a", large + "b", false}};
    for (const Case& c : cases) {
        Write(m_dir / "copy", c.copy);
        Write(m_dir / "original", c.original, 0600);
        EXPECT_EQ(IsHeld(), c.isHeld) << c.copy.size() << " " << c.original.size();
    }
}

TEST_F(Comparison, ComparesDirectoriesByWhatTheOriginalHas) {
    Write(m_dir / "original/deep/file", "text");
    fs::create_symlink("file", m_dir / "original/deep/link");
    fs::create_directory(m_dir / "original/empty");
    EXPECT_FALSE(IsHeld());
    fs::copy(m_dir / "original", m_dir / "copy",
             fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    EXPECT_TRUE(IsHeld());
    Write(m_dir / "copy/more", "");
    EXPECT_TRUE(IsHeld());
    Write(m_dir / "copy/deep/file", "TEXT");
    EXPECT_FALSE(IsHeld());
    fs::remove(m_dir / "original/deep/file");
    EXPECT_TRUE(IsHeld());
    fs::remove(m_dir / "copy/deep/link");
    EXPECT_FALSE(IsHeld());
    fs::create_symlink("elsewhere", m_dir / "copy/deep/link");
    EXPECT_FALSE(IsHeld());
}

TEST_F(Comparison, FindsEntriesOfDifferentKindsDifferent) {
    Write(m_dir / "original", "");
    EXPECT_FALSE(IsHeld());
    fs::create_symlink("original", m_dir / "copy");
    EXPECT_FALSE(IsHeld());
    fs::remove(m_dir / "copy");
    fs::create_directory(m_dir / "copy");
    EXPECT_FALSE(IsHeld());
    fs::remove(m_dir / "copy");
    ASSERT_EQ(mkfifo((m_dir / "copy").c_str(), 0600), 0);
    EXPECT_FALSE(IsHeld());
    fs::remove(m_dir / "original");
    ASSERT_EQ(mkfifo((m_dir / "original").c_str(), 0644), 0);
    EXPECT_TRUE(IsHeld());
}

// The original is removed on its word.
TEST_F(Comparison, FindsNoCopyInWhatCannotBeRead) {
    Write(m_dir / "original/file", "text");
    Write(m_dir / "original/sub/file", "text");
    fs::create_symlink("file", m_dir / "original/link");
    fs::copy(m_dir / "original", m_dir / "copy",
             fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    const int points = testsupport::FailInTurn(
        testsupport::kFileCalls, EIO, [] {}, [&] { return IsHeld() ? 0 : 1; },
        [](int isNotHeld) { EXPECT_EQ(isNotHeld, 1); });
    EXPECT_GE(points, 15);
}

TEST_F(Comparison, ComparesEveryEntryOfALargeDirectory) {
    constexpr int kMany = 5000;  // several batches
    for (const std::string tree : {"original/", "copy/"}) {
        for (int i = 0; i < kMany; ++i) Write(m_dir / (tree + "file-" + std::to_string(i)), "");
    }
    EXPECT_TRUE(IsHeld());
    for (const int missing : {0, kMany - 1}) {
        fs::rename(m_dir / ("copy/file-" + std::to_string(missing)), m_dir / "aside");
        EXPECT_FALSE(IsHeld()) << missing;
        fs::rename(m_dir / "aside", m_dir / ("copy/file-" + std::to_string(missing)));
    }
}
