// Whether the agent is started, and what the operator is shown of it.
#include "integration/AgentStart.h"
#include "tests/support/Installation.h"
#include "tests/support/SkippedPauses.h"

namespace Zorvane::AgentInstaller {
namespace {

using testsupport::Captured;
using testsupport::SecondsPaused;

constexpr const char* kNotStarting =
    "Not starting the Zorvane Agent at this time, agent will start at next system restart.\n";

class AgentStart : public testsupport::Installation {
  protected:
    void SetUp() override {
        testfiles::Write(
            "/opt/agent/bin/rcscript",
            "#!/bin/sh\necho $1 >>/opt/agent/calls\n[ $1 = start ] && echo starting || echo 'It runs.'\n",
            0755);
    }
};

TEST_F(AgentStart, AnythingButYesDoesNotStart) {
    for (const wchar_t* value : {L"no", L"YES", L"Yes", L""}) {
        m_settings.Value(L"Start") = value;
        EXPECT_EQ(Captured([&] { StartAgent(m_settings); }).out, kNotStarting) << value;
    }
    EXPECT_FALSE(testfiles::Exists("/opt/agent/calls"));
}

TEST_F(AgentStart, AQuietRunThatDoesNotStartSaysNothing) {
    Args::bQuiet = true;
    m_settings.Value(L"Start") = L"no";
    EXPECT_EQ(Captured([&] { StartAgent(m_settings); }).out, "");
}

TEST_F(AgentStart, StartsAndTenSecondsLaterShowsTheStatusLine) {
    int pause = 0;
    const auto start = [&] {
        StartAgent(m_settings);
        corekit::Console::Flush();
    };
    EXPECT_EQ(Captured([&] { pause = SecondsPaused(start); }).out,
              "Starting Zorvane Agent for UNIX and Linux.\nIt runs.\n");
    EXPECT_EQ(pause, 10);
    EXPECT_EQ(testfiles::Read("/opt/agent/calls"), "start\nstatus\n");
}

TEST_F(AgentStart, WarnsOfAnAgentThatDoesNotRun) {
    Configure("debug_output=/var/log/qdn-client.log\n");
    const auto start = [&] {
        return Captured([&] {
            static_cast<void>(SecondsPaused([&] {
                StartAgent(m_settings);
                corekit::Console::Flush();
            }));
        });
    };
    testfiles::Write("/opt/agent/bin/rcscript",
                     "#!/bin/sh\n[ $1 = start ] || { echo It is dead.; exit 3; }\n", 0755);
    auto output = start();
    EXPECT_EQ(output.out, "Starting Zorvane Agent for UNIX and Linux.\nIt is dead.\n");
    EXPECT_EQ(output.err, "WARNING! The agent does not run. See /var/log/qdn-client.log.\n");

    Configure("");
    Args::bQuiet = true;
    testfiles::Write("/opt/agent/bin/rcscript", "#!/bin/sh\nexit 1\n", 0755);
    output = start();
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "WARNING! The agent does not run. See its log.\n");
}

TEST_F(AgentStart, ShowsAnEmptyLine_WhenTheStatusIsWithoutAWord) {
    testfiles::Write("/opt/agent/bin/rcscript", "#!/bin/sh\n", 0755);
    const auto output = Captured([&] {
        static_cast<void>(SecondsPaused([&] {
            StartAgent(m_settings);
            corekit::Console::Flush();
        }));
    });
    EXPECT_EQ(output.out, "Starting Zorvane Agent for UNIX and Linux.\n\n");
    EXPECT_EQ(output.err, "");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
