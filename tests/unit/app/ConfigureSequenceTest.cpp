// The configure sequence: the runs that fail before anything is written, and what they say.
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

#include "app/ConfigureCommand.h"
#include "run/Args.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testsupport::Captured;

constexpr const char* kPlatformWarning =
    "\nWARNING! The current platform is not officially supported.\n"
    "You may experience problems with running Zorvane Agent for UNIX and Linux\non this machine.\n\n";

/// Runs of the sequence that end before anything is written.
class ConfigureSequence : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(chdir("/"), 0);
        m_host.Add("rpm");
    }
    void TearDown() override {
        std::filesystem::remove_all("/opt/agent");
        std::filesystem::remove("/tmp/.qdn-agent-install-config.xml");
    }

    unsigned Run(const std::vector<String>& arguments) {
        unsigned status = 0;
        m_output = Captured([&] { status = ConfigureCommand().Run(arguments); });
        return status;
    }

    testsupport::StandIns m_host;
    testsupport::Output m_output;
};

TEST_F(ConfigureSequence, SaysWhatToDo_WhenAQuietRunFindsNoConfiguration) {
    EXPECT_EQ(Run({L"-quiet"}), 1U);
    EXPECT_EQ(m_output.err,
              "ERROR: No configuration file found and -quiet specified.\n"
              "Remove -quiet to run qdn-configure interactively or specify env var QDNCLIENT_CONFIG_FILE for "
              "non default location upgrade.\n");
    EXPECT_EQ(m_output.out, kPlatformWarning);
}

TEST_F(ConfigureSequence, SaysWhereItLooked_WhenItMayNotAsk) {
    EXPECT_EQ(Run({L"-quiet", L"-noimode"}), 1U);
    EXPECT_EQ(m_output.err,
              "ERROR: No configuration file found. File:.qdn-agent-install-config.xml  Search Path: "
              "/tmp:/var:/opt/zorvane\nNo upgrade possible, and Interactive mode disabled.\n"
              "To configure install interactively, run the qdn-configure exe (located in the Agent's bin "
              "directory).\nInstall not complete, Setting return status to 1 (configure failed).\n\n");
}

TEST_F(ConfigureSequence, AnXmlFileThatForbidsTheUpgradeNeedsNoServer) {
    testfiles::Write("/tmp/.qdn-agent-install-config.xml",
                     "<KSAgentConfiguration><Settings Upgrade=\"no\"/></KSAgentConfiguration>");
    EXPECT_EQ(Run({L"-quiet", L"-dir", L"/opt/agent"}), 1U);
    EXPECT_EQ(m_output.err,
              "WARNING! No Kell Server name is configured.\n"
              "WARNING! No run level is configured: the agent is not started when the host boots.\n"
              "ERROR: Missing file in install. File:/opt/agent/etc/client.proto\n");
    EXPECT_TRUE(testfiles::Exists("/tmp/.qdn-agent-install-config.xml"));
}

TEST_F(ConfigureSequence, ADirectoryThatAShellWouldMisreadIsRefused) {
    setenv("QDN_INSTALL_KSNAME", "srv", 1);
    for (const wchar_t* directory :
         {L"/opt/a'b", L"/opt/a\"b", L"/opt/a\\b", L"/opt/a`b", L"/opt/a$b", L"/opt/a&b", L"/opt/a;b",
          L"/opt/a|b", L"/opt/a<b", L"/opt/a>b", L"/opt/a(b", L"/opt/a)b"}) {
        SCOPED_TRACE(directory);
        EXPECT_EQ(Run({L"-quiet", L"-dir", directory}), 1U);
        EXPECT_EQ(m_output.err, "ERROR: Install directory " + String(directory).Utf8() +
                                    " contains characters that are not allowed.\n");
    }
    EXPECT_EQ(Run({L"-quiet", L"-dir", L"/opt/a\nb"}), 1U);
    EXPECT_EQ(m_output.err,
              "ERROR: Install directory /opt/a\\x0ab contains characters that are not allowed.\n");
}

TEST_F(ConfigureSequence, ThePackageManagerIsNotAskedUnderNoSearch) {
    Run({L"-quiet", L"-nosearch"});
    EXPECT_EQ(m_host.Calls(), "");
    Args::bNoSearch = false;
    Run({L"-quiet"});
    EXPECT_EQ(m_host.Calls(), "rpm -q -l qdn-ksclt\nrpm -q -l qdn-ksclt\n");
}

TEST_F(ConfigureSequence, FailsTheRun_WhenTheQuestionnaireEndsEarly) {
    ASSERT_NE(freopen("/dev/null", "r", stdin), nullptr);
    EXPECT_EQ(Run({}), 1U);
    EXPECT_EQ(m_output.err, "ERROR: Interactive configuration failed.\n");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
