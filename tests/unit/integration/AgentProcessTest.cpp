// Which processes count as the running agent, whether it is started, and what the operator is shown of it.
#include <cerrno>
#include <csignal>
#include <sys/syscall.h>
#include <sys/wait.h>

#include "integration/AgentProcess.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Installation.h"
#include "tests/support/Mount.h"
#include "tests/support/RunningScript.h"
#include "tests/support/ScopedValue.h"
#include "tests/support/SkippedPauses.h"

namespace Zorvane::AgentInstaller {

namespace {

using testsupport::RunningScript;

constexpr const char* kProgram = "/opt/agent/bin/qdn-pluginmanager.bin";

class AgentProcess : public testsupport::Installation {};

TEST_F(AgentProcess, IsToldFromWhatTheKernelShows) {
    const auto proc = testsupport::Mount::Tmpfs("/proc");
    const std::string program = "/opt/agent/bin/qdn-pluginmanager.bin";
    const auto show = [](const std::string& commandLine) {
        testfiles::Write("/proc/4711/comm", "qdn-pluginmanag\n");
        testfiles::Write("/proc/4711/cmdline", commandLine + '\0');
    };
    show(program);
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), 4711) << "whose root is not known";
    std::filesystem::create_symlink("/", "/proc/4711/root");
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), 4711);
    std::filesystem::remove("/proc/4711/root");
    std::filesystem::create_symlink("/opt", "/proc/4711/root");
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), std::nullopt) << "one in a container of this host";
    std::filesystem::remove("/proc/4711/root");
    show("./qdn-pluginmanager.bin");
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), std::nullopt) << "a program in nobody knows which directory";
    show(program);
    std::filesystem::remove("/proc/4711/comm");
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), std::nullopt) << "it has ended meanwhile";
}

TEST_F(AgentProcess, IsFoundByAnOrdinaryUser) {
    const RunningScript agent(kProgram);
    testsupport::InChild([&] {
        constexpr uid_t kUser = 12;
        EXPECT_EQ(seteuid(kUser), 0);
        EXPECT_EQ(FindAgentProcess(L"/opt/agent"), agent.Id());
        return 0;
    });
}

TEST_F(AgentProcess, IsNone_WhenNoneWasStarted) {
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), std::nullopt);
    EXPECT_EQ(FindAgentProcess(L""), std::nullopt);
}

TEST_F(AgentProcess, IsFoundByItsProgram_AsLongAsItRuns) {
    {
        const RunningScript agent(kProgram);
        EXPECT_EQ(FindAgentProcess(L"/opt/agent"), agent.Id());
        std::filesystem::create_directory_symlink("/opt/agent", "/opt/link");
        EXPECT_EQ(FindAgentProcess(L"/opt/link"), agent.Id()) << "by another name of its directory";
        EXPECT_EQ(FindAgentProcess(L"/opt/other"), std::nullopt) << "that of another directory";
        std::filesystem::remove("/opt/link");
    }
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), std::nullopt);
}

TEST_F(AgentProcess, AnotherProgramOfTheDirectoryIsNotTheAgent) {
    const RunningScript other("/opt/agent/bin/qdn-monitor.bin");
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), std::nullopt);
}

TEST_F(AgentProcess, AProcessThatHasEndedIsNotTheAgent_WhenNobodyHasWaitedForItYet) {
    testfiles::Write(kProgram, "#!/bin/sh\n", 0755);
    const pid_t id = fork();
    if (id == 0) {
        execl(kProgram, kProgram, nullptr);
        _exit(127);
    }
    siginfo_t ended{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(id), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), std::nullopt);
    waitpid(id, nullptr, 0);
}

TEST_F(AgentProcess, IsTheOneOfThePidFile_WhenThereAreSeveral) {
    const RunningScript first(kProgram);
    const RunningScript second(kProgram);
    testfiles::Write("/opt/agent/bin/rcscript", "#!/bin/sh\n# pidfile: /opt/agent/agent.pid\n", 0755);
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), std::min(first.Id(), second.Id())) << "no pid file yet";
    for (const pid_t id : {first.Id(), second.Id()}) {
        testfiles::Write("/opt/agent/agent.pid", std::to_string(id) + "\n");
        EXPECT_EQ(FindAgentProcess(L"/opt/agent"), id);
    }
    testfiles::Write("/opt/agent/agent.pid", "1\n");
    EXPECT_EQ(FindAgentProcess(L"/opt/agent"), std::min(first.Id(), second.Id())) << "one of another program";
}

}  // namespace

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

TEST_F(AgentStart, DoesNotStartTheAgent_UnlessTheSettingIsExactlyYes) {
    for (const wchar_t* value : {L"no", L"YES", L"Yes", L""}) {
        m_settings.Value(L"Start") = value;
        EXPECT_EQ(Captured([&] { StartAgent(m_settings); }).out, kNotStarting) << value;
    }
    EXPECT_FALSE(testfiles::Exists("/opt/agent/calls"));
}

TEST_F(AgentStart, SaysNothing_WhenAQuietRunDoesNotStartTheAgent) {
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

TEST_F(AgentStart, WarnsBelowTheStatusLine_WhereBothStreamsAreOne) {
    testfiles::Write("/opt/agent/bin/rcscript",
                     "#!/bin/sh\n[ $1 = start ] || { echo It is dead.; exit 3; }\n", 0755);
    const auto output = Captured([&] {
        ASSERT_EQ(dup2(STDOUT_FILENO, STDERR_FILENO), STDERR_FILENO);
        static_cast<void>(SecondsPaused([&] {
            StartAgent(m_settings);
            corekit::Console::Flush();
        }));
    });
    EXPECT_EQ(output.out,
              "Starting Zorvane Agent for UNIX and Linux.\nIt is dead.\n"
              "WARNING! The agent does not run. See its log.\n");
}

TEST_F(AgentStart, WarnsOfAnAgentThatDoesNotRun_WhereNoProgramCanBeStarted) {
    const auto output = Captured([&] {
        static_cast<void>(SecondsPaused([&] {
            EXPECT_TRUE(testsupport::MakeFail({{SYS_pipe2, EMFILE}}));
            StartAgent(m_settings);
            corekit::Console::Flush();
        }));
    });
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

class AgentStop : public AgentStart {
  protected:
    /// A control script that does this, too, when it is called.
    static void ControlScript(const std::string& lines) {
        testfiles::Write("/opt/agent/bin/rcscript", "#!/bin/sh\necho $1 >>/opt/agent/calls\n" + lines, 0755);
    }
};

TEST_F(AgentStop, IsGivenUp_WhenTheAgentStillRunsAfterFiveSeconds) {
    const RunningScript agent(kProgram);
    ControlScript("");
    EXPECT_EQ(SecondsPaused([] { EXPECT_FALSE(StopAgent(L"/opt/agent")); }), 5);
    EXPECT_EQ(testfiles::Read("/opt/agent/calls"), "stop\n");
}

TEST_F(AgentStop, IsOver_OnceTheAgentHasEnded) {
    const RunningScript agent(kProgram);
    ControlScript("kill -KILL " + std::to_string(agent.Id()) + "\n");
    EXPECT_TRUE(StopAgent(L"/opt/agent"));
    EXPECT_EQ(testfiles::Read("/opt/agent/calls"), "stop\n");
}

TEST_F(AgentStop, AnAgentThatDoesNotComeUpAgainIsWarnedOf) {
    ControlScript("");
    EXPECT_EQ(Captured([] { StartAgentAgain(L"/opt/agent"); }).err,
              "WARNING! The agent does not run. See its log.\n");
    const RunningScript agent(kProgram);
    EXPECT_EQ(Captured([] { StartAgentAgain(L"/opt/agent"); }).err, "");
    EXPECT_EQ(testfiles::Read("/opt/agent/calls"), "start\nstart\n");
}

TEST_F(AgentStop, TheAgentIsNeitherStoppedNorStarted_InARehearsal) {
    const testsupport::ScopedValue rehearsal(RunMode::isRehearsal, true);
    const RunningScript agent(kProgram);
    ControlScript("");
    EXPECT_TRUE(StopAgent(L"/opt/agent"));
    StartAgentAgain(L"/opt/agent");
    EXPECT_FALSE(testfiles::Exists("/opt/agent/calls"));
}

}  // namespace

}  // namespace Zorvane::AgentInstaller
