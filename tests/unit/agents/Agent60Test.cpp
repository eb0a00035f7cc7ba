// How an agent of version 6.0 is read, moved and taken off the host, and in which order.
#include <filesystem>
#include <gtest/gtest.h>

#include "agents/Agent60.h"
#include "run/Args.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/ScopedValue.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using testfiles::Exists;
using testfiles::TempDir;
using testfiles::Write;
using testsupport::Captured;

/// Records which of its operations are called, and answers as a test wants it.
class RecordingAgent60 : public Agent60 {
  public:
    explicit RecordingAgent60(bool answer) : Agent60(L"6.0", L""), m_answer(answer) {}

    bool RemoveProgramLinks(const IniFile& conf) override { return Called(L"links", conf); }
    bool RemoveRunLevelScripts(const IniFile& conf) override { return Called(L"scripts", conf); }
    bool RemoveRotatedDebugLogs(const IniFile& conf) override { return Called(L"debug-logs", conf); }
    bool ConvertPackageStore(const IniFile& conf) override { return Called(L"packages", conf); }
    bool RemoveRotatedClientLogs(const IniFile& conf, const String& newInstallDir) override {
        return Called(L"client-logs[" + newInstallDir + L"]", conf);
    }
    const String& Calls() const { return m_calls; }

  private:
    bool Called(const String& operation, const IniFile& conf) {
        m_calls += operation + L":" + conf.GetValue(L"Configuration", L"name") + L" ";
        return m_answer;
    }

    bool m_answer;
    String m_calls;
};

/// An agent of version 6.0 in agent/, with a link directory beside it.
class Agent60OnDisk : public testing::Test {
  protected:
    Agent60OnDisk() {
        Write(m_agentDir + "/etc/client.conf", "[Configuration]\nname=old\ninstalldir=" + m_agentDir +
                                                   "\nBinDir=" + m_dir / "links" + "\nvar=" + m_agentDir +
                                                   "/var\n");
        Write(m_dir / "new.conf", "[Configuration]\nname=new\ninstalldir=" + m_dir / "new" + "\n");
        std::filesystem::create_directories(m_dir / "links");
        std::filesystem::create_symlink(m_agentDir + "/bin/qdn-monitor", m_dir / "links/qdn-monitor");
        for (const char* tool : {"chkconfig", "insserv -r"}) m_tools.Add(tool);
        m_agent.SetConfPath(Conf());
        m_oldest.SetConfPath(Conf());
        m_refusing.SetConfPath(Conf());
    }

    String Conf() const { return String::FromUtf8(m_agentDir + "/etc/client.conf"); }
    String NewConf() const { return String::FromUtf8(m_dir / "new.conf"); }

    TempDir m_dir;
    const std::string m_agentDir = m_dir / "agent";
    testsupport::StandIns m_tools{testsupport::HostPrograms::TextTools};
    Agent60 m_oldest{L"6.0", L""};
    RecordingAgent60 m_agent{true};
    RecordingAgent60 m_refusing{false};
};

TEST_F(Agent60OnDisk, RemovesItsLinksAndItsServiceRegistration) {
    const auto output = Captured([&] { EXPECT_TRUE(m_oldest.RemoveSystemIntegration()); });
    EXPECT_EQ(output.out, "  Removing qdn-* links in " + m_dir / "links" +
                              "\n"
                              "  Removing RC init links and scripts\n");
    EXPECT_EQ(output.err, "");
    EXPECT_FALSE(Exists(m_dir / "links/qdn-monitor"));
    EXPECT_EQ(m_tools.Calls(), "chkconfig --del zorvane\n");
    EXPECT_TRUE(Exists(m_agentDir + "/etc/client.conf"));
}

TEST_F(Agent60OnDisk, RemovesItsIntegrationSilently_WhenTheRunIsQuiet) {
    const testsupport::ScopedValue quiet(Args::bQuiet, true);
    const auto output = Captured([&] { EXPECT_TRUE(m_oldest.RemoveSystemIntegration()); });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(m_tools.Calls(), "chkconfig --del zorvane\n");
}

TEST_F(Agent60OnDisk, UnregistersItsServiceByTheToolOfTheDistribution) {
    Write("/etc/UnitedLinux-release", "");
    Captured([&] { EXPECT_TRUE(m_oldest.RemoveSystemIntegration()); });
    std::filesystem::remove("/etc/UnitedLinux-release");
    EXPECT_EQ(m_tools.Calls(), "insserv -r /etc/init.d/zorvane\n");
}

TEST_F(Agent60OnDisk, RemovesItsIntegration_EvenIfAStepFails) {
    EXPECT_TRUE(m_refusing.RemoveSystemIntegration());
    EXPECT_EQ(m_refusing.Calls(), L"links:old scripts:old ");
}

TEST_F(Agent60OnDisk, RemovesItsFilesAndThenItsRotatedDebugLogs_WhenCleaned) {
    EXPECT_TRUE(m_agent.RemoveFiles(L""));
    EXPECT_EQ(m_agent.Calls(), L"debug-logs:old ");
    EXPECT_FALSE(Exists(m_agentDir));
}

TEST_F(Agent60OnDisk, ConvertsPackagesAtTheirNewPlaceAndRemovesRotatedClientLogs_WhenUpgraded) {
    EXPECT_TRUE(m_agent.RemoveFiles(NewConf()));
    EXPECT_EQ(m_agent.Calls().Utf8(), "packages:new client-logs[" + m_dir / "new" + "]:old ");
    EXPECT_FALSE(Exists(m_agentDir));
}

TEST_F(Agent60OnDisk, StaysInPlaceOnAnUpgradeToItsOwnDirectory) {
    Write(m_dir / "new.conf", "[Configuration]\nname=new\ninstalldir=" + m_agentDir + "\n");
    EXPECT_TRUE(m_agent.RemoveFiles(NewConf()));
    EXPECT_EQ(m_agent.Calls().Utf8(), "packages:new client-logs[" + m_agentDir + "]:old ");
    EXPECT_TRUE(Exists(m_agentDir + "/etc/client.conf"));
}

TEST_F(Agent60OnDisk, ChangesNothing_WhenTheNewConfigurationCannotBeRead) {
    const Outcome<> relocated = m_agent.RelocateFiles(String::FromUtf8(m_dir / "none"));
    EXPECT_EQ(relocated.error().text, L"Failed to read configuration files.");
    EXPECT_EQ(relocated.error().reason.Utf8(), m_dir / "none" + ": No such file or directory");
    EXPECT_EQ(m_agent.Calls(), L"");
    EXPECT_TRUE(Exists(m_agentDir + "/etc/client.conf"));
}

TEST_F(Agent60OnDisk, LoadsTheSettingsOfItsFile) {
    const auto settings = *m_oldest.LoadSettings();
    EXPECT_EQ(settings->Value(L"InstallDir").Utf8(), m_agentDir);
    EXPECT_EQ(settings->Value(L"BinDir").Utf8(), m_dir / "links");
    EXPECT_TRUE(settings->Exists(L"KSName"));
}

TEST_F(Agent60OnDisk, HasNoRotatedLogs) {
    Write(m_agentDir + "/var/qdn-client.log.1", "");
    const IniFile conf(Conf());
    EXPECT_TRUE(m_oldest.RemoveRotatedDebugLogs(conf));
    EXPECT_TRUE(m_oldest.RemoveRotatedClientLogs(conf, String::FromUtf8(m_dir / "new")));
    EXPECT_TRUE(Exists(m_agentDir + "/var/qdn-client.log.1"));
}

TEST_F(Agent60OnDisk, CanBeUpgradedWithItsSubAgents) {
    EXPECT_TRUE(m_oldest.IsUpgradeSupported());
    EXPECT_TRUE(m_oldest.RegistersSubAgents());
}

TEST_F(Agent60OnDisk, ChangesNothing_WhenItHasNoConfigurationFile) {
    m_agent.SetConfPath(L"");
    const auto output = Captured([&] {
        EXPECT_FALSE(m_agent.RemoveSystemIntegration());
        EXPECT_FALSE(m_agent.RemoveFiles(L""));
        EXPECT_FALSE(m_agent.RemoveFiles(NewConf()));
        EXPECT_FALSE(m_agent.RelocateFiles(NewConf()));
        EXPECT_FALSE(m_agent.Clean());
    });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(m_agent.Calls(), L"");
    EXPECT_EQ(m_tools.Calls(), "");
    EXPECT_TRUE(Exists(m_agentDir + "/etc/client.conf"));
    EXPECT_TRUE(Exists(m_dir / "links/qdn-monitor"));
}

TEST_F(Agent60OnDisk, IsGoneAfterAClean) {
    Captured([&] { EXPECT_TRUE(m_oldest.Clean()); });
    EXPECT_FALSE(Exists(m_agentDir));
    EXPECT_FALSE(Exists(m_dir / "links/qdn-monitor"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
