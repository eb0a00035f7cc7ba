// What every installation of the agent does alike.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "agents/Agent.h"
#include "corekit/fs/File.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

/// Records what it is asked to do, and answers as a test wants it.
class RecordingAgent : public Agent {
  public:
    RecordingAgent(bool integrationGoes, bool filesGo)
        : Agent(L"6.0SP1", L"/opt/agent"), m_integrationGoes(integrationGoes), m_filesGo(filesGo) {}

    Outcome<std::unique_ptr<Settings>> LoadSettings() override { return nullptr; }
    Outcome<> RemoveSystemIntegration() override {
        m_calls += L"integration ";
        return DoneIf(m_integrationGoes, L"the integration stays");
    }
    Outcome<> RemoveFiles(const String& newConfPath) override {
        m_calls += L"files[" + newConfPath + L"] ";
        return DoneIf(m_filesGo, L"the files stay");
    }
    const String& Calls() const { return m_calls; }

  private:
    static Outcome<> DoneIf(bool succeeds, const String& text) {
        return succeeds ? Outcome<>() : Outcome<>(Fail(text));
    }

    bool m_integrationGoes;
    bool m_filesGo;
    String m_calls;
};

TEST(Agent, CleansItsIntegrationAndThenItsFiles) {
    RecordingAgent agent(true, true);
    EXPECT_TRUE(agent.Clean());
    EXPECT_EQ(agent.Calls(), L"integration files[] ");
}

TEST(Agent, KeepsItsFiles_WhenTheIntegrationStays) {
    RecordingAgent agent(false, true);
    EXPECT_EQ(agent.Clean().error().text, L"the integration stays");
    EXPECT_EQ(agent.Calls(), L"integration ");
}

TEST(Agent, WarnsOfOtherPathsAndKeepsTheIntegration_WhenItsFileIsNotRoots) {
    const testfiles::TempDir home;
    const std::string base = home / "agent";
    const std::string path = base + "/etc/client.conf";
    const std::string conf = "[Configuration]\ninstalldir=" + base +
                             "\nbindir=/usr/bin\nlibdir=lib\nvar=" + base +
                             "/var\nevent_queue_dir=/etc\ntask_storage_path=/etc\n";
    testfiles::Write(path, conf);
    testfiles::Write("/etc/init.d/zorvane", "#!/bin/sh\n", 0755);
    ASSERT_EQ(chmod(home.Path().c_str(), 0777), 0);
    RecordingAgent agent(true, true);
    agent.SetConf(TrustedFile(String::FromUtf8(path), ChosenBy::Administrator), conf);
    const auto output = testsupport::Captured([&] { EXPECT_TRUE(agent.Clean()); });
    EXPECT_EQ(agent.Calls(), L"files[] ");
    const std::string why = " is kept: it lies outside of " + base + ", whose client.conf is not root's.\n";
    EXPECT_EQ(output.err,
              "WARNING! /usr/bin" + why + "WARNING! /etc" + why + "WARNING! /etc/init.d/zorvane" + why);
    EXPECT_TRUE(testfiles::Exists("/etc/init.d/zorvane"));
    std::filesystem::remove("/etc/init.d/zorvane");
    EXPECT_EQ(testsupport::Captured([&] { EXPECT_TRUE(agent.Clean()); }).err,
              "WARNING! /usr/bin" + why + "WARNING! /etc" + why);
    EXPECT_EQ(corekit::File::Remove(L"/etc/passwd", corekit::HostDirectory::Meant), corekit::Result(EXDEV));
}

TEST(Agent, RemovesNothing_WhereItCannotBeConfined) {
    const testfiles::TempDir home;
    const std::string path = home / "agent/etc/client.conf";
    testfiles::Write(path, "[Configuration]\n");
    ASSERT_EQ(chmod(home.Path().c_str(), 0777), 0);
    RecordingAgent agent(true, true);
    agent.SetConf(TrustedFile(String::FromUtf8(path), ChosenBy::Administrator), "[Configuration]\n");
    std::filesystem::remove_all(home / "agent");
    const Outcome<> cleaned = agent.Clean();
    ASSERT_FALSE(cleaned);
    EXPECT_EQ(cleaned.error().text, L"Failed to read configuration files.");
    EXPECT_EQ(cleaned.error().reason.Utf8(), home / "agent: No such file or directory");
    EXPECT_EQ(agent.Calls(), L"");
}

TEST(Agent, IsNotClean_WhenFilesStay) {
    RecordingAgent agent(true, false);
    EXPECT_EQ(agent.Clean().error().text, L"the files stay");
}

TEST(Agent, HasItsVersionAndPlaces) {
    RecordingAgent agent(true, true);
    EXPECT_EQ(agent.VersionLabel(), L"6.0SP1");
    EXPECT_EQ(agent.InstallDir(), L"/opt/agent");
    EXPECT_EQ(agent.ConfPath(), L"");
    agent.SetConfPath(L"/opt/agent/etc/client.conf");
    EXPECT_EQ(agent.ConfPath(), L"/opt/agent/etc/client.conf");
}

TEST(Agent, CanBeUpgraded_UnlessItSaysOtherwise) {
    const RecordingAgent agent(true, true);
    EXPECT_TRUE(agent.IsUpgradeSupported());
    EXPECT_FALSE(agent.RegistersSubAgents());
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
