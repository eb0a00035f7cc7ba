// The table of mounts: its rows, and which of them can be seen.
#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include "preview/Mounts.h"
#include "tests/support/AsUser.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/InChild.h"
#include "tests/support/Mount.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

TEST(Mounts, ARowHasThePointTheTypeAndTheFlags) {
    const auto mounts = ParseMounts(
        "36 35 98:0 /root /mnt\\0401 rw,nosuid,noatime master:1 - ext3 /dev/root rw,errors=continue\n"
        "37 35 0:20 / /tmp rw,nodev,noexec - tmpfs tmpfs ro,size=4k\n");
    EXPECT_THAT(mounts, testing::ElementsAre(Mount{36, "/mnt 1", "ext3", MS_NOSUID},
                                             Mount{37, "/tmp", "tmpfs", MS_NODEV | MS_NOEXEC | MS_RDONLY}));
}

TEST(Mounts, ABackslashIsOne_WhereNoDigitsFollow) {
    for (const char* point : {"/mnt\\", "/mnt\\zzz", "/mnt\\04"}) {
        const auto mounts = ParseMounts("36 35 98:0 / " + std::string(point) + " rw - ext4 a rw\n");
        ASSERT_EQ(mounts.size(), 1U) << point;
        EXPECT_EQ(mounts.front().point, point);
    }
}

TEST(Mounts, ARowThatIsNotUnderstoodIsLeftOut) {
    for (const char* row : {"", "\n", "36", "36 35 98:0 / /mnt rw", "x 35 98:0 / /mnt rw - ext4 a rw",
                            "36 35 98:0 / mnt rw - ext4 a rw", "36 35 98:0 / /mnt rw - "})
        EXPECT_THAT(ParseMounts(row), testing::IsEmpty()) << row;
}

TEST(Mounts, APathIsOnTheLastMountAroundIt) {
    const std::vector<Mount> mounts = {{1, "/", "ext4", 0}, {2, "/opt", "ext4", 0}, {3, "/opt/a", "ext4", 0}};
    EXPECT_EQ(MountOf(mounts, "/")->id, 1);
    EXPECT_EQ(MountOf(mounts, "/optical")->id, 1);
    EXPECT_EQ(MountOf(mounts, "/opt")->id, 2);
    EXPECT_EQ(MountOf(mounts, "/opt/ab")->id, 2);
    EXPECT_EQ(MountOf(mounts, "/opt/a/b")->id, 3);
}

TEST(Mounts, MountsThatOthersCoverAreLeftOut) {
    const testfiles::TempDir dir;
    const std::string place = dir.Path() + "/place";
    const auto first = testsupport::Mount::Tmpfs(place);
    const auto below = testsupport::Mount::Tmpfs(place + "/below");
    const auto second = testsupport::Mount::Tmpfs(place);
    std::vector<Mount> mounts;
    ASSERT_TRUE(ReadVisibleMounts(mounts));
    EXPECT_EQ(std::ranges::count(mounts, place, &Mount::point), 1);
    EXPECT_EQ(std::ranges::count(mounts, place + "/below", &Mount::point), 0);
    EXPECT_TRUE(std::ranges::is_sorted(mounts, {}, &Mount::point));
    EXPECT_EQ(mounts.front().point, "/");
}

TEST(Mounts, AMountWhoseDirectoryMayNotBeSearchedIsLeftOut) {
    const testfiles::TempDir dir;  // the user's alone
    const auto own = testsupport::Mount::Tmpfs(dir / "own");
    const auto timesSeen = [&] {
        std::vector<Mount> mounts;
        EXPECT_TRUE(ReadVisibleMounts(mounts));
        return std::ranges::count(mounts, dir / "own", &Mount::point);
    };
    EXPECT_EQ(timesSeen(), 1);
    const testsupport::AsUser other(1);
    EXPECT_EQ(timesSeen(), 0);
}

TEST(Mounts, AreNotTold_WhenWhichOfThemAreSeenCannotBeAsked) {
    const int code = testsupport::InChild([] {
        const int next = dup(STDIN_FILENO);
        close(next);
        const rlimit oneMore = {static_cast<rlim_t>(next) + 1, static_cast<rlim_t>(next) + 1};
        setrlimit(RLIMIT_NOFILE, &oneMore);
        std::vector<Mount> mounts;
        return ReadVisibleMounts(mounts).Code();
    });
    EXPECT_EQ(code, EMFILE);
}

TEST(Mounts, OneThatOthersCoverIsNeverTold_WhereThisProcessHasTroubleOfItsOwn) {
    const testfiles::TempDir dir;
    const std::string place = dir.Path() + "/place";
    const auto first = testsupport::Mount::Tmpfs(place);
    const auto below = testsupport::Mount::Tmpfs(place + "/below");
    const auto second = testsupport::Mount::Tmpfs(place);
    const auto isToldWrongly = [&] {
        std::vector<Mount> mounts;
        return ReadVisibleMounts(mounts) && std::ranges::count(mounts, place + "/below", &Mount::point) > 0;
    };
    for (const int error : {EMFILE, ENFILE, ENOMEM}) {
        const int failed = testsupport::FailInTurn(
            {SYS_openat}, error, [] {}, isToldWrongly, [](int result) { EXPECT_EQ(result, 0); });
        EXPECT_GT(failed, 4);
    }
}

TEST(Mounts, AreToldAllOrNotAtAll_WhateverFails) {
    std::vector<Mount> all;
    ASSERT_TRUE(ReadVisibleMounts(all));
    const auto read = [&] {
        std::vector<Mount> mounts;
        if (!ReadVisibleMounts(mounts)) return 1;
        const bool hasAll = std::ranges::all_of(
            all, [&](const Mount& mount) { return std::ranges::count(mounts, mount) == 1; });
        return hasAll ? 0 : 2;
    };
    for (const int error : {EMFILE, EIO}) {
        const int failed = testsupport::FailInTurn(
            {SYS_openat, SYS_read}, error, [] {}, read, [](int result) { EXPECT_NE(result, 2); });
        EXPECT_GT(failed, 4);
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
