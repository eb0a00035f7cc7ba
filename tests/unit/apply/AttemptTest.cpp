// How an attempt ends, and what becomes of signals meanwhile.
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

#include "apply/Attempt.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

Ending Attempted(const std::function<unsigned()>& command) {
    Interruptions interruptions;
    return Attempt(command, Output::Shown, interruptions);
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
