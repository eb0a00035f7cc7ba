// How an agent of version 6.0 SP2 leaves the host: its wrappers and its service script.
#include <gtest/gtest.h>

#include "agents/Agent60.h"
#include "run/Args.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/ScopedValue.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::Exists;
using testfiles::Write;
using testsupport::Captured;

constexpr const char* kScript = "/etc/init.d/zorvane";

class Agent60SP2OnDisk : public testing::Test {
  protected:
    Agent60SP2OnDisk() {
        Write(m_dir / "agent/etc/client.conf",
              "[Configuration]\ninstalldir=" + m_dir / "agent" + "\nbindir=" + m_dir / "links" +
                  "\ndebug_output=" + m_dir / "agent/var/qdn-client.log" + "\n");
        Write(m_dir / "agent/bin/qdn-monitor.bin", "", 0755);
        Write(m_dir / "agent/bin/qdn-monitor", "", 0755);
        std::filesystem::create_directory(m_dir / "links");
        std::filesystem::create_symlink(m_dir / "agent/bin/qdn-monitor", m_dir / "links/qdn-monitor");
        Write(kScript, "#!/bin/sh\n", 0755);
        m_tools.Add("chkconfig");
        m_agent.SetConfPath(String::FromUtf8(m_dir / "agent/etc/client.conf"));
    }
    ~Agent60SP2OnDisk() override { std::filesystem::remove(kScript); }

    testfiles::TempDir m_dir;
    testsupport::StandIns m_tools{testsupport::HostPrograms::TextTools};
    Agent60SP2 m_agent{L"6.0SP2", String::FromUtf8(m_dir / "agent")};
};

TEST_F(Agent60SP2OnDisk, RemovesItsWrappersAndItsServiceScript) {
    const auto output = Captured([&] { EXPECT_TRUE(m_agent.RemoveSystemIntegration()); });
    EXPECT_EQ(output.out, "  Removing qdn-* links in " + m_dir / "links" +
                              "\n"
                              "  Removing RC init links and scripts\n");
    EXPECT_FALSE(Exists(m_dir / "links/qdn-monitor"));
    EXPECT_FALSE(Exists(m_dir / "agent/bin/qdn-monitor"));
    EXPECT_TRUE(Exists(m_dir / "agent/bin/qdn-monitor.bin"));
    EXPECT_FALSE(Exists(kScript));
}

TEST_F(Agent60SP2OnDisk, RemovesItsIntegrationSilently_WhenTheRunIsQuiet) {
    const testsupport::ScopedValue quiet(Args::bQuiet, true);
    const auto output = Captured([&] { EXPECT_TRUE(m_agent.RemoveSystemIntegration()); });
    EXPECT_EQ(output.out, "");
    EXPECT_FALSE(Exists(kScript));
}

TEST_F(Agent60SP2OnDisk, SaysWhetherItsServiceHasGone) {
    const corekit::IniFile conf(m_agent.ConfPath());
    Captured([&] { EXPECT_TRUE(m_agent.RemoveRunLevelScripts(conf)); });
    EXPECT_FALSE(Exists(kScript));
    Captured([&] { EXPECT_TRUE(m_agent.RemoveRunLevelScripts(conf)); });
}

TEST_F(Agent60SP2OnDisk, RemovesItsIntegration_EvenIfItsServiceStays) {
    std::filesystem::remove(kScript);
    std::filesystem::create_directory(kScript);
    const corekit::IniFile conf(m_agent.ConfPath());
    Captured([&] {
        EXPECT_FALSE(m_agent.RemoveRunLevelScripts(conf));
        EXPECT_TRUE(m_agent.RemoveSystemIntegration());
    });
}

TEST_F(Agent60SP2OnDisk, HasNoRotatedLogs) {
    Write(m_dir / "agent/var/qdn-client.log.1", "");
    const corekit::IniFile conf(m_agent.ConfPath());
    CurrentAgent current(L"6.0SP2", String::FromUtf8(m_dir / "agent"));
    for (Agent60* agent : {static_cast<Agent60*>(&m_agent), static_cast<Agent60*>(&current)}) {
        EXPECT_TRUE(agent->RemoveRotatedDebugLogs(conf));
        EXPECT_TRUE(agent->RemoveRotatedClientLogs(conf, String::FromUtf8(m_dir / "new")));
    }
    EXPECT_TRUE(Exists(m_dir / "agent/var/qdn-client.log.1"));
}

TEST_F(Agent60SP2OnDisk, ChangesNothing_WhenItHasNoConfigurationFile) {
    m_agent.SetConfPath(L"");
    const auto output = Captured([&] { EXPECT_FALSE(m_agent.Clean()); });
    EXPECT_EQ(output.out, "");
    EXPECT_TRUE(Exists(m_dir / "links/qdn-monitor"));
    EXPECT_TRUE(Exists(kScript));
}

TEST_F(Agent60SP2OnDisk, IsGoneAfterAClean) {
    Captured([&] { EXPECT_TRUE(m_agent.Clean()); });
    EXPECT_FALSE(Exists(m_dir / "agent"));
    EXPECT_FALSE(Exists(m_dir / "links/qdn-monitor"));
    EXPECT_FALSE(Exists(kScript));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
