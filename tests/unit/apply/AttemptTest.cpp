// How an attempt ends, and what becomes of signals meanwhile.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "apply/Attempt.h"
#include "run/Failure.h"
#include "tests/support/FailingCall.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

Ending Attempted(const std::function<unsigned()>& command) {
    Interruptions interruptions;
    return Attempt(command, StandardOutput::Shown, interruptions);
}

TEST(Attempt, Succeeds_WhenTheCommandReturnsZero) {
    const Ending ending = Attempted([] { return 0U; });
    EXPECT_TRUE(ending.hasSucceeded);
    EXPECT_FALSE(ending.wasInterrupted);
}

TEST(Attempt, HandsTheErrorOn_WhenTheCommandFails) {
    const Ending ending = Attempted([] {
        Error::m_sErrorText = L"no room";
        return 1U;
    });
    EXPECT_FALSE(ending.hasSucceeded);
    EXPECT_EQ(ending.error, "no room");
}

TEST(Attempt, Fails_WhenTheCommandIsKilled) {
    const Ending ending = Attempted([] {
        raise(SIGKILL);
        return 0U;
    });
    EXPECT_FALSE(ending.hasSucceeded);
    EXPECT_FALSE(ending.wasInterrupted);
    EXPECT_EQ(ending.error, "The command was ended by a signal.");
}

TEST(Attempt, HandsASignalOn_AndReportsIt) {
    const Ending ending = Attempted([] {
        std::signal(SIGTERM, SIG_DFL);
        kill(getppid(), SIGTERM);
        sleep(20);
        return 0U;
    });
    EXPECT_FALSE(ending.hasSucceeded);
    EXPECT_TRUE(ending.wasInterrupted);
}

TEST(Attempt, BlocksNoSignalForTheCommand) {
    const Ending ending = Attempted([] {
        sigset_t mask;
        sigprocmask(SIG_SETMASK, nullptr, &mask);
        return sigisemptyset(&mask) ? 0U : 1U;
    });
    EXPECT_TRUE(ending.hasSucceeded);
}

TEST(Attempt, DoesNotSucceed_WhenASignalComes_ThoughTheCommandEndsWell) {
    const Ending ending = Attempted([] {
        std::signal(SIGTERM, SIG_IGN);
        kill(getppid(), SIGTERM);
        return 0U;
    });
    EXPECT_FALSE(ending.hasSucceeded);
    EXPECT_TRUE(ending.wasInterrupted);
}

/// Runs a command that leaves a file; true if it was run.
bool IsRun(StandardOutput output) {
    Interruptions interruptions;
    const auto command = [] {
        testfiles::Write("/opt/of-the-attempt", "");
        return 0U;
    };
    const bool hasSucceeded = Attempt(command, output, interruptions).hasSucceeded;
    const bool isRun = testfiles::Exists("/opt/of-the-attempt");
    std::remove("/opt/of-the-attempt");
    EXPECT_EQ(hasSucceeded, isRun);
    return isRun;
}

TEST(Attempt, IsNotRun_WhenItsMakerHasEnded) {
    EXPECT_TRUE(IsRun(StandardOutput::Shown));
    testsupport::InChild([] {
        testsupport::JudgeCalls({SYS_getppid},
                                [](const seccomp_notif&) -> testsupport::Verdict { return 1; });
        EXPECT_FALSE(IsRun(StandardOutput::Shown));
        return 0;
    });
}

TEST(Attempt, IsNotRun_WhenItsOutputCannotBeDropped) {
    EXPECT_TRUE(IsRun(StandardOutput::Dropped));
    for (const int call : {SYS_openat, SYS_dup2}) {
        testsupport::WithFailing({{call, EMFILE}}, [&] {
            Interruptions interruptions;
            const Ending ending = Attempt([] { return 0U; }, StandardOutput::Dropped, interruptions);
            EXPECT_FALSE(ending.hasSucceeded) << call;
            EXPECT_EQ(ending.error, "") << call;
            return 0;
        });
    }
}

TEST(Attempt, SaysWhyItCannotBegin) {
    const auto expectErrorWith = [](testsupport::FailingCall call) {
        testsupport::WithFailing({call}, [&] {
            const Ending ending = Attempted([] { return 0U; });
            EXPECT_FALSE(ending.hasSucceeded);
            EXPECT_EQ(ending.error, strerror(call.errnoValue));
            return 0;
        });
    };
    expectErrorWith({SYS_pipe2, EMFILE});
    expectErrorWith({SYS_clone, EAGAIN});
}

TEST(Attempt, LeavesTheCallerAsItWas) {
    unsigned changed = 0;
    Attempted([&] {
        changed = 1;
        return 0U;
    });
    EXPECT_EQ(changed, 0U);
}

TEST(Interruptions, ASignalIsReported_AndDoesNotEndTheProcess) {
    Interruptions interruptions;
    EXPECT_FALSE(interruptions.HasCome());
    raise(SIGINT);
    EXPECT_TRUE(interruptions.HasCome());
}

TEST(Interruptions, ASignalThatNobodyHasAskedAboutDoesNotEndTheProcess) {
    testsupport::InChild([] {
        {
            const Interruptions interruptions;
            raise(SIGINT);
        }
        return 0;
    });
}

TEST(Interruptions, AnIgnoredSignalNeverComes) {
    const auto before = std::signal(SIGHUP, SIG_IGN);
    {
        Interruptions interruptions;
        raise(SIGHUP);
        EXPECT_FALSE(interruptions.HasCome());
    }
    std::signal(SIGHUP, before);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Apply
