// How long an agent is watched, and what counts as one that stays up.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "apply/AgentWatch.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

constexpr const char* kProgram = "/opt/w/bin/qdn-pluginmanager.bin";

/// A process of the agent's program, until it goes.
class AgentProcess {
  public:
    AgentProcess() : m_process(fork()) {
        if (m_process != 0) return;
        execl(kProgram, kProgram, nullptr);
        _exit(1);
    }
    ~AgentProcess() { End(); }
    void End() {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    pid_t Id() const { return m_process; }

  private:
    pid_t m_process;
};

class AgentWatch : public testing::Test {
  protected:
    AgentWatch() { testfiles::Write(kProgram, "#!/bin/sh\nread -r line </dev/zero\n", 0755); }
    ~AgentWatch() override { std::filesystem::remove_all("/opt/w"); }

    /// Pauses take a moment only: all that counts is how often there is one.
    std::optional<pid_t> Watch(unsigned seconds, const std::function<bool(unsigned)>& atPause) {
        return WatchAgent(L"/opt/w", seconds, [&](unsigned milliseconds) {
            m_passed += milliseconds;
            usleep(2000);
            return atPause(m_passed);
        });
    }

    unsigned m_passed = 0;
};

TEST_F(AgentWatch, IsOverAfterTwoSeconds_WhenTheAgentStands) {
    const AgentProcess agent;
    usleep(100000);
    EXPECT_EQ(Watch(10, [](unsigned) { return true; }), agent.Id());
    EXPECT_EQ(m_passed, 2000U);
}

TEST_F(AgentWatch, FindsNone_WhenItEndsAfterASecond) {
    AgentProcess agent;
    usleep(100000);
    const auto found = Watch(4, [&](unsigned passed) {
        if (passed == 1000) agent.End();
        return true;
    });
    EXPECT_FALSE(found);
    EXPECT_EQ(m_passed, 4000U);
}

TEST_F(AgentWatch, CountsAnew_WhenAnotherProcessIsThere) {
    std::optional<AgentProcess> first(std::in_place);
    std::optional<AgentProcess> second;
    usleep(100000);
    const auto found = Watch(10, [&](unsigned passed) {
        if (passed == 1000) {
            first.reset();
            second.emplace();
            usleep(100000);
        }
        return true;
    });
    ASSERT_TRUE(second);
    EXPECT_EQ(found, second->Id());
    EXPECT_EQ(m_passed, 3000U);
}

TEST_F(AgentWatch, EndsAtOnce_WhenThereIsNothingToWaitForAnyMore) {
    EXPECT_FALSE(Watch(10, [](unsigned) { return false; }));
    EXPECT_EQ(m_passed, 250U);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Apply
