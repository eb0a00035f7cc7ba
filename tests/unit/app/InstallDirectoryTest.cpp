// The install directory of the agent that is being configured: which source wins.
#include <gtest/gtest.h>

#include "agents/Agent60.h"
#include "app/ConfigureSteps.h"
#include "corekit/text/Text.h"
#include "tests/support/Mount.h"
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

TEST_F(InstallDirectory, IsThatOfThePackage_UnlessTheCommandLineNamesAnother) {
    m_host.Add("rpm", "echo /opt/package/etc/client.proto");
    InstallDir() = L"/opt/xml";
    EXPECT_TRUE(CreateNewAgent(m_run, String()));
    EXPECT_EQ(InstallDir(), L"/opt/package");
    EXPECT_TRUE(CreateNewAgent(m_run, L"/opt/given"));
    EXPECT_EQ(InstallDir(), L"/opt/given");
    EXPECT_EQ(m_run.newAgent->InstallDir(), L"/opt/package");
}

TEST_F(InstallDirectory, KeepsItsValue_WhenNeitherNamesOne) {
    m_host.Add("rpm");
    InstallDir() = L"/opt/xml";
    EXPECT_TRUE(CreateNewAgent(m_run, String()));
    EXPECT_EQ(InstallDir(), L"/opt/xml");
}

TEST_F(InstallDirectory, HasNoSlashAtItsEnd_WhenItIsProposed) {
    static_cast<void>(CreateNewAgent(m_run, L"/opt/given//"));
    EXPECT_EQ(InstallDir(), L"/opt/given");
    InstallDir() = L"/opt/xml/";
    static_cast<void>(CreateNewAgent(m_run, L""));
    EXPECT_EQ(InstallDir(), L"/opt/xml");
}

TEST_F(InstallDirectory, IsThatOfThePackage_WhenNoSourceNamesOne) {
    CompleteInstallDir(m_run);
    EXPECT_EQ(InstallDir(), L"");
    m_run.newAgent = std::make_unique<CurrentAgent>(L"6.0", L"/opt/old");
    CompleteInstallDir(m_run);
    EXPECT_EQ(InstallDir(), L"/opt/old");
    InstallDir() = L"/opt/new";
    CompleteInstallDir(m_run);
    EXPECT_EQ(InstallDir(), L"/opt/new");
}

TEST_F(InstallDirectory, IsNone_WhereNothingTellsWhichProgramRuns) {
    const auto noProcesses = testsupport::Mount::Tmpfs("/proc");
    CompleteInstallDir(m_run);
    EXPECT_FALSE(m_run.settings->IsSet(L"InstallDir"));
}

TEST_F(InstallDirectory, LosesTheSlashesAtItsEnd) {
    InstallDir() = L"/opt/new//";
    CompleteInstallDir(m_run);
    EXPECT_EQ(InstallDir(), L"/opt/new");
    InstallDir() = L"//";
    CompleteInstallDir(m_run);
    EXPECT_EQ(InstallDir(), L"/");
}

TEST_F(InstallDirectory, IsRefused_WhenAShellOrASearchPathWouldMisreadIt) {
    InstallDir() = L"/opt/my-agent";
    EXPECT_TRUE(CheckInstallDir(*m_run.settings));
    for (const wchar_t* directory :
         {L"/opt/my$agent", L"/opt/my agent", L"/opt/my\tagent", L"/opt/my:agent"}) {
        InstallDir() = directory;
        const auto outcome = CheckInstallDir(*m_run.settings);
        ASSERT_FALSE(outcome) << InstallDir().Utf8();
        EXPECT_EQ(outcome.error().text, L"Install directory " + corekit::Text::Printable(directory) +
                                            L" contains characters that are not allowed.");
    }
}

TEST_F(InstallDirectory, IsRefused_WhenItIsTheHostsOwn) {
    for (const wchar_t* directory : {L"/usr", L"/", L"/opt/../etc", L"/usr/bin"}) {
        InstallDir() = directory;
        const auto outcome = CheckInstallDir(*m_run.settings);
        ASSERT_FALSE(outcome) << InstallDir().Utf8();
        EXPECT_EQ(outcome.error().text,
                  String(L"Install directory %1 is a directory of the host.").Arg(directory));
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
