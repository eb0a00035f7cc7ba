// What every installation of the agent does alike.
#include <gtest/gtest.h>

#include "agents/Agent.h"
#include "tests/support/PrintString.h"

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

TEST(Agent, KeepsItsFilesWhenTheIntegrationStays) {
    RecordingAgent agent(false, true);
    EXPECT_EQ(agent.Clean().error().text, L"the integration stays");
    EXPECT_EQ(agent.Calls(), L"integration ");
}

TEST(Agent, IsNotCleanWhenFilesStay) {
    RecordingAgent agent(true, false);
    EXPECT_EQ(agent.Clean().error().text, L"the files stay");
}

TEST(Agent, KnowsItsVersionAndPlaces) {
    RecordingAgent agent(true, true);
    EXPECT_EQ(agent.VersionLabel(), L"6.0SP1");
    EXPECT_EQ(agent.InstallDir(), L"/opt/agent");
    EXPECT_EQ(agent.ConfPath(), L"");
    agent.SetConfPath(L"/opt/agent/etc/client.conf");
    EXPECT_EQ(agent.ConfPath(), L"/opt/agent/etc/client.conf");
}

TEST(Agent, CanBeUpgradedUnlessItSaysOtherwise) {
    const RecordingAgent agent(true, true);
    EXPECT_TRUE(agent.IsUpgradeSupported());
    EXPECT_FALSE(agent.RegistersSubAgents());
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
