// The install directory of the agent that is being configured: which source wins.
#include <gtest/gtest.h>

#include "agents/Agent60SP2.h"
#include "app/InstallDirectory.h"
#include "run/Error.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

class InstallDirectory : public testing::Test {
  protected:
    InstallDirectory() { m_run.settings = std::make_unique<Settings>(); }

    String& InstallDir() { return m_run.settings->Value(L"InstallDir"); }

    testsupport::StandIns m_host;
    ConfigureRun m_run;
};

TEST_F(InstallDirectory, IsThePackagesUnlessTheCommandLineNamesAnother) {
    m_host.Add("rpm", "echo /opt/package/etc/client.proto");
    InstallDir() = L"/opt/xml";
    CreateNewAgent(m_run, String());
    EXPECT_EQ(InstallDir(), L"/opt/package");
    CreateNewAgent(m_run, L"/opt/given");
    EXPECT_EQ(InstallDir(), L"/opt/given");
    EXPECT_EQ(m_run.newAgent->InstallDir(), L"/opt/package");
}

TEST_F(InstallDirectory, StaysWhereNeitherNamesOne) {
    m_host.Add("rpm");
    InstallDir() = L"/opt/xml";
    CreateNewAgent(m_run, String());
    EXPECT_EQ(InstallDir(), L"/opt/xml");
}

TEST_F(InstallDirectory, IsThePackagesWhereNoSourceNamedAny) {
    CompleteInstallDir(m_run);
    EXPECT_EQ(InstallDir(), L"");
    m_run.newAgent = std::make_unique<CurrentAgent>(L"6.0", L"/opt/old");
    CompleteInstallDir(m_run);
    EXPECT_EQ(InstallDir(), L"/opt/old");
    InstallDir() = L"/opt/new";
    CompleteInstallDir(m_run);
    EXPECT_EQ(InstallDir(), L"/opt/new");
}

TEST_F(InstallDirectory, MayHoldBlanksButNothingThatAShellWouldMisread) {
    InstallDir() = L"/opt/my agent";
    EXPECT_TRUE(CheckInstallDir(*m_run.settings));
    InstallDir() = L"/opt/my$agent";
    EXPECT_FALSE(CheckInstallDir(*m_run.settings));
    EXPECT_EQ(Error::m_sErrorText,
              L"Install directory /opt/my$agent contains characters that are not allowed.");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
