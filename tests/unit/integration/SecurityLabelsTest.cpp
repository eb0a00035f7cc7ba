// The security labels of an installation.
#include <cerrno>
#include <filesystem>
#include <sys/syscall.h>

#include "integration/SetupSequence.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Installation.h"
#include "tests/support/Mount.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {

namespace {

class SecurityLabels : public testsupport::Installation {
  protected:
    SecurityLabels() {
        m_tools.Add("restorecon");
        testfiles::Write("/etc/init.d/zorvane", "#!/bin/sh\n");
    }

    void KnowLabels() const { testfiles::Write("/sys/fs/selinux/enforce", "1"); }

    /// What the tool was called with.
    std::string Set() {
        EXPECT_TRUE(SetSecurityLabels(m_context));
        return m_tools.Calls();
    }

    const testsupport::Mount m_kernel = testsupport::Mount::Tmpfs("/sys/fs");
    testsupport::StandIns m_tools;
};

TEST_F(SecurityLabels, AreSetOnTheServiceScriptAlone_WhenAnAgentWasThereBefore) {
    KnowLabels();
    EXPECT_EQ(Set(), "restorecon -R /etc/init.d/zorvane\n");
}

TEST_F(SecurityLabels, AreSetBelowTheInstallDirectory_WhenItIsTheFirstConfiguration) {
    KnowLabels();
    m_context.isFirst = true;
    EXPECT_EQ(Set(), "restorecon -R /etc/init.d/zorvane /opt/agent\n");
}

TEST_F(SecurityLabels, AreNotSetOnWhatDoesNotExist) {
    KnowLabels();
    std::filesystem::remove("/etc/init.d/zorvane");
    EXPECT_EQ(Set(), "");
}

TEST_F(SecurityLabels, AreLeftAlone_WhereTheKernelKnowsNone) {
    EXPECT_EQ(Set(), "");
}

TEST_F(SecurityLabels, AreWhatTheDirectoryGives_WhereTheHostHasNoTool) {
    KnowLabels();
    m_tools.Remove("restorecon");
    const auto output = testsupport::Captured([&] { EXPECT_EQ(Set(), ""); });
    EXPECT_EQ(output.err, "");
}

TEST_F(SecurityLabels, AreWarnedOf_WhenTheToolFails) {
    KnowLabels();
    m_tools.Add("restorecon", "exit 1");
    const auto output = testsupport::Captured([&] { Set(); });
    EXPECT_EQ(output.err, "WARNING! The security labels of new files are not set.\n");
}

TEST_F(SecurityLabels, AreWarnedOf_WhenTheToolCannotBeStarted) {
    KnowLabels();
    const auto output = testsupport::Captured([&] {
        testsupport::WithFailing({{SYS_pipe2, EMFILE}}, [&] { return SetSecurityLabels(m_context) ? 0 : 1; });
    });
    EXPECT_EQ(output.err, "WARNING! The security labels of new files are not set.\n");
}

}  // namespace

}  // namespace Zorvane::AgentInstaller
