// One run at a time: who gets the lock, and what is no lock file.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "corekit/os/Descriptor.h"
#include "run/RunLock.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

constexpr const char* kLock = "/run/qdn-configure.lock";
constexpr const char* kOtherLock = "/etc/qdn-configure.lock";

TEST(RunLock, IsTakenForTheSecondRun) {
    const RunLock first;
    EXPECT_FALSE(first.IsTaken());
    EXPECT_EQ(testfiles::Mode(kLock), 0600U);
    const RunLock second;
    EXPECT_TRUE(second.IsTaken());
}

TEST(RunLock, IsTaken_EvenIfTheCallIsInterrupted) {
    const auto lock = [] {
        const RunLock held;
        return !held.IsTaken() && RunLock().IsTaken() ? 0 : 1;
    };
    const auto expectHeld = [](int result) { EXPECT_EQ(result, 0); };
    EXPECT_GT(testsupport::FailInTurn(
                  {SYS_flock}, EINTR, [] {}, lock, expectHeld),
              0);
    EXPECT_FALSE(testfiles::Exists(kLock));
}

TEST(RunLock, IsReleasedWithoutATrace) {
    { const RunLock first; }
    EXPECT_FALSE(testfiles::Exists(kLock));
    const RunLock second;
    EXPECT_FALSE(second.IsTaken());
}

TEST(RunLock, IsReleased_WhenItsRunIsKilled) {
    const pid_t child = fork();
    if (child == 0) {
        static const RunLock held;
        _exit(held.IsTaken() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    ASSERT_TRUE(testfiles::Exists(kLock));
    const RunLock next;
    EXPECT_FALSE(next.IsTaken());
}

TEST(RunLock, UsesTheOtherPlace_WhenALinkIsPlanted) {
    testfiles::TempDir target;
    ASSERT_EQ(symlink((target / "planted").c_str(), kLock), 0);
    {
        const RunLock lock;
        EXPECT_FALSE(lock.IsTaken());
        EXPECT_TRUE(testfiles::Exists(kOtherLock));
        EXPECT_FALSE(testfiles::Exists(target / "planted"));
    }
    ASSERT_EQ(unlink(kLock), 0);
}

TEST(RunLock, CountsAsFree_WhenThereIsNoPlaceForIt) {
    ASSERT_EQ(mkdir(kLock, 0700), 0);
    ASSERT_EQ(mkdir(kOtherLock, 0700), 0);
    const RunLock first;
    const RunLock second;
    EXPECT_FALSE(first.IsTaken());
    EXPECT_FALSE(second.IsTaken());
    rmdir(kLock);
    rmdir(kOtherLock);
}

TEST(RunLock, UsesTheOtherPlace_WhenAFifoIsPlanted) {
    ASSERT_EQ(mkfifo(kLock, 0600), 0);
    {
        const RunLock lock;
        EXPECT_FALSE(lock.IsTaken());
        EXPECT_TRUE(testfiles::Exists(kOtherLock));
    }
    ASSERT_EQ(unlink(kLock), 0);
}

TEST(RunLock, IsTriedAgain_WhenItsFileIsAnothersByNow) {
    testsupport::InChild([] {
        const auto exchange = [isDone = false](const seccomp_notif&) mutable -> testsupport::Verdict {
            if (std::exchange(isDone, true)) return std::nullopt;
            unlink(kLock);
            close(open(kLock, O_CREAT | O_WRONLY, 0600));
            return std::nullopt;
        };
        testsupport::JudgeCalls({SYS_flock}, exchange);
        const RunLock lock;
        EXPECT_FALSE(lock.IsTaken());
        EXPECT_TRUE(RunLock().IsTaken());
        return 0;
    });
    EXPECT_FALSE(testfiles::Exists(kLock));
}

TEST(RunLock, IsHeld_OnlyWhileARunHoldsIt) {
    EXPECT_FALSE(RunLock::IsHeld());
    testfiles::Write(kLock, "", 0600);
    EXPECT_FALSE(RunLock::IsHeld());
    {
        const RunLock lock;
        EXPECT_TRUE(RunLock::IsHeld());
        EXPECT_EQ(testsupport::WithFailing({{SYS_openat, EACCES}}, [] { return RunLock::IsHeld() ? 1 : 0; }),
                  0);
    }
    EXPECT_FALSE(RunLock::IsHeld());
}

// The table of locks tells files by their numbers.
TEST(RunLock, IsNotHeld_WhereTheNumberOfALockedFileBeginsWithItsOwn) {
    testfiles::Write(kLock, "", 0600);
    const auto numberOf = [](const std::string& path) {
        struct stat info {};
        EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
        return std::to_string(info.st_ino);
    };
    const std::string own = numberOf(kLock);
    std::string other;
    for (int i = 0; i < 200000 && other.empty(); ++i) {
        const std::string path = "/run/many/" + std::to_string(i);
        testfiles::Write(path, "");
        if (numberOf(path).starts_with(own)) other = path;
    }
    {
        const corekit::Descriptor file(open(other.c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(flock(file.Get(), LOCK_EX), 0) << "no number began with " << own;
        EXPECT_FALSE(RunLock::IsHeld());
    }
    std::filesystem::remove_all("/run/many");
    ASSERT_EQ(unlink(kLock), 0);
}

TEST(RunLock, LiesInNoPlaceOfAnotherUser) {
    if (chown("/run", 12345, 0) != 0) return;  // not root's machine
    {
        const RunLock lock;
        EXPECT_FALSE(testfiles::Exists(kLock));
        EXPECT_TRUE(testfiles::Exists(kOtherLock));
    }
    ASSERT_EQ(chown("/run", 0, 0), 0);
    testfiles::Write(kLock, "", 0600);
    ASSERT_EQ(chown(kLock, 12345, 0), 0);
    {
        const RunLock lock;
        EXPECT_FALSE(lock.IsTaken());
        EXPECT_TRUE(testfiles::Exists(kOtherLock));
    }
    ASSERT_EQ(unlink(kLock), 0);
}

TEST(RunLock, LiesOnlyInADirectoryOfRoot) {
    for (const mode_t mode : {01777U, 0777U, 0775U}) {
        ASSERT_EQ(chmod("/run", mode), 0);
        const RunLock lock;
        EXPECT_FALSE(testfiles::Exists(kLock)) << mode;
        EXPECT_TRUE(testfiles::Exists(kOtherLock)) << mode;
        EXPECT_TRUE(RunLock().IsTaken()) << mode;
    }
    ASSERT_EQ(chmod("/run", 0755), 0);
}

TEST(RunLock, IgnoresALockInTheDirectoryForEverybody) {
    testfiles::Write("/run/lock/qdn-configure.lock", "", 0600);
    const int held = open("/run/lock/qdn-configure.lock", O_RDWR);
    ASSERT_EQ(flock(held, LOCK_EX | LOCK_NB), 0);
    EXPECT_FALSE(RunLock().IsTaken());
    close(held);
    unlink("/run/lock/qdn-configure.lock");
}

/// The lock files that lie about.
std::vector<std::string> Traces() {
    std::vector<std::string> traces;
    for (const char* place : {"/run", "/var/lock", "/etc"}) {
        const std::string file = std::string(place) + "/qdn-configure.lock";
        if (testfiles::Exists(file)) traces.push_back(file);
    }
    return traces;
}

TEST(RunLock, CountsAsFreeAndLeavesNoTrace_WhereNothingCanBeLocked) {
    EXPECT_EQ(testsupport::WithFailing({{SYS_flock, ENOLCK}}, [] { return RunLock().IsTaken() ? 1 : 0; }), 0);
    EXPECT_EQ(Traces(), std::vector<std::string>());
}

TEST(RunLock, LeavesTheFileThatAnotherRunHasLocked_WhereItCanLockNothingItself) {
    const RunLock held;
    EXPECT_EQ(testsupport::WithFailing({{SYS_flock, ENOLCK}}, [] { return RunLock().IsTaken() ? 1 : 0; }), 0);
    EXPECT_EQ(Traces(), std::vector<std::string>{"/run/qdn-configure.lock"});
    EXPECT_TRUE(RunLock().IsTaken());
}

TEST(RunLock, CountsAsFree_WhenItCannotBeSeenWhetherItsFileIsStillThere) {
    EXPECT_EQ(testsupport::InChild([] {
                  const auto isOfTheName = [](const seccomp_notif& call) -> testsupport::Verdict {
                      return (call.data.args[3] & AT_SYMLINK_NOFOLLOW) != 0 ? testsupport::Verdict(-EIO)
                                                                            : std::nullopt;
                  };
                  testsupport::JudgeCalls({SYS_newfstatat}, isOfTheName);
                  return RunLock().IsTaken() ? 1 : 0;
              }),
              0);
}

TEST(RunLock, CountsAsFree_WhateverFails) {
    const int points = testsupport::FailInTurn(
        {SYS_newfstatat, SYS_fstat, SYS_openat, SYS_flock}, EIO, [] {},
        [] { return RunLock().IsTaken() ? 1 : 0; }, [](int isTaken) { EXPECT_EQ(isTaken, 0); });
    EXPECT_GE(points, 5);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
