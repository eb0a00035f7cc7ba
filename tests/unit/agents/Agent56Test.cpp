// How an agent of version 5.6 is read, moved and taken off the host.
#include <gtest/gtest.h>

#include "agents/Agent56.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::Exists;
using testfiles::Read;
using testfiles::Write;
using testsupport::Captured;

constexpr const char* kScript = "/etc/init.d/zorvane";

class Agent56OnDisk : public testing::Test {
  protected:
    Agent56OnDisk() {
        Write(m_dir / "agent/etc/client.conf", "[Configuration]\nInstallDir=" + m_dir / "agent" +
                                                   "\nserver-1=unused\n[Kell Servers]\nserver-1=ks\n");
        Write(m_dir / "agent/bin/runit.sh", "");
        std::filesystem::remove("/etc/xinetd.conf");
        std::filesystem::remove("/etc/inetd.conf");
        Write("/etc/services", "ssh 22/tcp\nqdnm 402/tcp\n");
        Write(kScript, "#!/bin/sh\n", 0755);
        // Run-level clean-up comes second: by then the ports have gone.
        m_tools.Add("chkconfig", "cat /etc/services >> " + m_tools.PathOf("calls"));
        m_tools.Add("ps");
        m_agent.SetConfPath(String::FromUtf8(m_dir / "agent/etc/client.conf"));
    }
    ~Agent56OnDisk() override { std::filesystem::remove(kScript); }

    testfiles::TempDir m_dir;
    testsupport::StandIns m_tools{testsupport::HostPrograms::TextTools};
    Agent56 m_agent{L"5.6", String::FromUtf8(m_dir / "agent")};
};

TEST_F(Agent56OnDisk, RemovesItsSuperServerEntriesAndThenItsServiceRegistration) {
    const auto output = Captured([&] { EXPECT_TRUE(m_agent.RemoveSystemIntegration()); });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(Read("/etc/services"), "ssh 22/tcp\n");
    EXPECT_EQ(m_tools.Calls(), "ps -ef\nchkconfig --del zorvane\nssh 22/tcp\n");
    EXPECT_FALSE(Exists(kScript));
}

TEST_F(Agent56OnDisk, RemovesItsIntegration_WhenItHasNoConfigurationFile) {
    m_agent.SetConfPath(L"");
    EXPECT_TRUE(m_agent.RemoveSystemIntegration());
    EXPECT_FALSE(Exists(kScript));
}

TEST_F(Agent56OnDisk, MovesItsQueueToWhereTheNewConfigurationWantsIt) {
    Write(m_dir / "agent/etc/client.conf", "[Configuration]\ninstalldir=" + m_dir / "agent" +
                                               "\nevent_queue_dir=" + m_dir / "agent/var/queue" + "\n");
    Write(m_dir / "agent/var/queue/one.kse", "event");
    Write(m_dir / "new.conf", "[Configuration]\ninstalldir=" + m_dir / "new" +
                                  "\nevent_queue_dir=" + m_dir / "new/var/queue" + "\n");
    EXPECT_TRUE(m_agent.RemoveFiles(String::FromUtf8(m_dir / "new.conf")));
    EXPECT_EQ(Read(m_dir / "new/var/queue/one.kse"), "event");
    EXPECT_FALSE(Exists(m_dir / "agent/var/queue"));
}

TEST_F(Agent56OnDisk, IsFoundAgain_WhereDataCouldNotBeMoved) {
    const std::string conf = m_dir / "agent/etc/client.conf";
    Write(conf, "[Configuration]\ninstalldir=" + m_dir / "agent" +
                    "\nevent_queue_dir=" + m_dir / "agent/var/queue" + "\n");
    Write(m_dir / "agent/var/queue/one.kse", "old");
    Write(m_dir / "agent/var/queue/two.kse", "event");
    Write(m_dir / "new/var/queue/one.kse", "new");
    Write(m_dir / "new.conf", "[Configuration]\ninstalldir=" + m_dir / "new" +
                                  "\nevent_queue_dir=" + m_dir / "new/var/queue" + "\n");
    Captured([&] { EXPECT_TRUE(m_agent.RemoveFiles(String::FromUtf8(m_dir / "new.conf"))); });
    EXPECT_EQ(Read(m_dir / "new/var/queue/one.kse"), "new");
    EXPECT_EQ(Read(m_dir / "new/var/queue/two.kse"), "event");
    EXPECT_EQ(Read(m_dir / "agent/var/queue/one.kse"), "old");
    EXPECT_TRUE(Exists(conf));
    EXPECT_TRUE(Exists(m_dir / "agent/etc/.moved"));
    EXPECT_FALSE(Exists(m_dir / "agent/bin/runit.sh"));
}

TEST_F(Agent56OnDisk, ChangesNothing_WhenTheNewConfigurationCannotBeRead) {
    const Outcome<> removed = m_agent.RemoveFiles(String::FromUtf8(m_dir / "none"));
    ASSERT_FALSE(removed);
    EXPECT_EQ(removed.error().reason.Utf8(), m_dir / "none" + ": No such file or directory");
    EXPECT_TRUE(Exists(m_dir / "agent/bin/runit.sh"));
    EXPECT_TRUE(Exists(m_dir / "agent/etc/client.conf"));
}

TEST_F(Agent56OnDisk, RemovesItsFiles) {
    EXPECT_TRUE(m_agent.RemoveFiles(L""));
    EXPECT_FALSE(Exists(m_dir / "agent/bin/runit.sh"));
}

TEST_F(Agent56OnDisk, LoadsTheSettingsThatItsFileCarries) {
    const auto settings = *m_agent.LoadSettings();
    EXPECT_EQ(settings->Value(L"InstallDir").Utf8(), m_dir / "agent");
    EXPECT_FALSE(settings->Exists(L"KSName"));
}

TEST_F(Agent56OnDisk, CanBeUpgradedButRegistersNoSubAgents) {
    EXPECT_TRUE(m_agent.IsUpgradeSupported());
    EXPECT_FALSE(m_agent.RegistersSubAgents());
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
