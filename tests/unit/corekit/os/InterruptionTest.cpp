// Signals that end the process: what ends with it, what holds them back, what the caller decides.
#include <cerrno>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/TemporaryFile.h"
#include "corekit/process/detail/ShellProcess.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/TestFiles.h"

using corekit::Descriptor;
using corekit::ShellProcess;
namespace Interruption = corekit::Interruption;

namespace {

/// Starts the command line in a process that is ended by SIGTERM as soon as the command has said "x". Returns
/// how that ended, and only when nothing of the command runs any more. That process calls `begin` first.
int StatusOfRunEndedDuring(
    const std::string& commandLine, const std::function<void()>& begin = [] {}) {
    int ends[2];
    if (pipe(ends) != 0) return -1;
    const pid_t run = fork();
    if (run == 0) {
        begin();
        Interruption::Prepare();
        ShellProcess shell;
        if (!shell.Start(commandLine, ends[1])) _exit(1);
        for (;;) pause();
    }
    close(ends[1]);
    const Descriptor output(ends[0]);
    char byte[2];
    EXPECT_EQ(read(output.Get(), byte, 2), 2);
    kill(run, SIGTERM);
    int status = 0;
    EXPECT_EQ(waitpid(run, &status, 0), run);
    EXPECT_EQ(read(output.Get(), byte, 1), 0) << "all have ended that could write";
    return status;
}

/// The signals that the process sends to the command in the end, such as "15 18 ".
std::string SignalsOfRunEndedDuring(const std::string& commandLine) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "signals", "");
    StatusOfRunEndedDuring(commandLine, [&] {
        const auto note = [&, self = getpid(), signals = std::string()](const seccomp_notif& call) mutable {
            if (static_cast<pid_t>(call.pid) == self && call.data.args[1] != 0)
                testfiles::Write(dir / "signals", signals += std::to_string(call.data.args[1]) + " ");
            return testsupport::Verdict();
        };
        const corekit::SignalBlock forTheThreadThatJudges;
        testsupport::JudgeCalls({SYS_kill}, note);
    });
    return testfiles::Read(dir / "signals");
}

}  // namespace

TEST(Interruption, LeavesTheSignalToEndTheProcess) {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        SCOPED_TRACE(signal);
        EXPECT_EXIT(
            {
                Interruption::Prepare();
                raise(signal);
                _exit(0);
            },
            testing::KilledBySignal(signal), "");
    }
}

TEST(Interruption, LeavesASignalIgnoredThatTheCallerIgnores) {
    EXPECT_EXIT(
        {
            std::signal(SIGHUP, SIG_IGN);
            Interruption::Prepare();
            raise(SIGHUP);
            _exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST(Interruption, LeavesChildrenTheirStatus_WhereTheCallerIgnoresTheirEnd) {
    EXPECT_EXIT(
        {
            std::signal(SIGCHLD, SIG_IGN);
            Interruption::Prepare();
            const pid_t child = fork();
            if (child == 0) _exit(7);
            int status = 0;
            const bool hasEnded = waitpid(child, &status, 0) == child;
            _exit(hasEnded && WIFEXITED(status) ? WEXITSTATUS(status) : 1);
        },
        testing::ExitedWithCode(7), "");
}

TEST(Interruption, EndsTheFirstProcessOfAContainerToo) {
    const pid_t outside = fork();
    if (outside == 0) {
        if (unshare(CLONE_NEWPID) != 0) _exit(1);
        const pid_t first = fork();
        if (first == 0) {
            Interruption::Prepare();
            raise(SIGTERM);
            _exit(0);
        }
        int status = 0;
        waitpid(first, &status, 0);
        _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 2);
    }
    int status = 0;
    ASSERT_EQ(waitpid(outside, &status, 0), outside);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
}

TEST(Interruption, EndsTheRunningShellAndAllThatItStarted) {
    const int status = StatusOfRunEndedDuring("sleep 1000 & echo x; sleep 1000 | cat; echo never");
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(Interruption, EndsAShellThatIgnoresTheSignal) {
    const int status = StatusOfRunEndedDuring("trap '' TERM; echo x; while :; do sleep 1000; done");
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(Interruption, EndsAShellThatIsStopped) {
    const int status = StatusOfRunEndedDuring("echo x; kill -STOP $$");
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

// A number that no group has any more may soon be another's.
TEST(Interruption, KillsNoGroupThatHasEnded) {
    EXPECT_EQ(SignalsOfRunEndedDuring("echo x; sleep 1000"), "15 18 ");
    EXPECT_EQ(SignalsOfRunEndedDuring("trap '' TERM; echo x; while :; do sleep 1000; done"), "15 18 9 ");
}

TEST(Interruption, PassesTheStatusOn_BeforeItEndsTheProcess) {
    EXPECT_EXIT(
        {
            Interruption::Prepare();
            Interruption::BeforeEnd([](int status) { _exit(status - 100); });
            raise(SIGTERM);
            _exit(0);
        },
        testing::ExitedWithCode(28 + SIGTERM), "");
}

TEST(Interruption, RemovesTemporaryFiles) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "one", "");
    testfiles::Write(dir / "two", "");
    EXPECT_EXIT(
        {
            Interruption::Prepare();
            corekit::TemporaryFile one;
            corekit::TemporaryFile two;
            one.Take(dir / "one");
            two.Take(dir / "two");
            raise(SIGINT);
        },
        testing::KilledBySignal(SIGINT), "");
    EXPECT_TRUE(testfiles::NamesIn(dir.Path()).empty());
}

TEST(Interruption, WaitsForTheOutermostSignalBlock) {
    EXPECT_EXIT(
        {
            Interruption::Prepare();
            {
                const corekit::SignalBlock outer;
                raise(SIGTERM);
                { const corekit::SignalBlock inner; }
                if (write(STDERR_FILENO, "held", 4) != 4) _exit(1);
            }
            _exit(0);
        },
        testing::KilledBySignal(SIGTERM), "held");
}
