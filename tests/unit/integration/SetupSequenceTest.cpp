// The set-up sequence: the move of client.conf into place, the order of the steps, and where it stops.
#include <sys/stat.h>

#include "integration/SetupSequence.h"
#include "tests/support/Installation.h"

namespace Zorvane::AgentInstaller {
namespace {

class SetupSequence : public testsupport::Installation {
  protected:
    void SetUp() override {
        Args::bQuiet = true;
        m_context.generatedConfPath = L"/tmp/generated";
        Generate("bindir=/opt/agent\ntmpdir=/tmp\nvar=/opt/agent/var\n");
        m_settings.Value(L"Guid") = L"{A}";
    }

    static void Generate(const std::string& lines) {
        testfiles::Write("/tmp/generated",
                         "[Configuration]\ninstalldir=/opt/agent\nguid_guid_file=/opt/agent/id/host.GUID\n"
                         "event_queue_dir=/opt/agent/q\ntask_storage_path=/opt/agent/t\n"
                         "package_storage_path=/opt/agent/p\nswd_storage_path=/opt/agent/s\n"
                         "debug_output=/opt/agent/log/x.log\n" +
                             lines,
                         0600);
    }
};

TEST_F(SetupSequence, TheGeneratedFileReplacesTheOldOne) {
    testfiles::Write("/opt/agent/etc/client.conf", "old");
    testfiles::Write("/opt/agent/etc/rcscript.proto.linux", "#!/bin/sh\n");
    RunSetupSequence(m_context, m_settings);
    EXPECT_TRUE(testfiles::Read("/opt/agent/etc/client.conf")
                    .starts_with("[Configuration]\ninstalldir=/opt/agent\n"));
    EXPECT_FALSE(testfiles::Exists("/tmp/generated"));
    EXPECT_EQ(m_context.confPath, L"/opt/agent/etc/client.conf");
    EXPECT_EQ(std::filesystem::current_path(), "/opt/agent");
}

TEST_F(SetupSequence, AFileThatCannotMoveFailsButTheDirectoryHasChanged) {
    std::filesystem::remove("/opt/agent/etc/client.conf");
    std::filesystem::create_directories("/opt/agent/etc/client.conf/x");
    EXPECT_FALSE(RunSetupSequence(m_context, m_settings));
    EXPECT_EQ(Error::m_sErrorText, L"Failed to create the new config file: /opt/agent/etc/client.conf");
    EXPECT_EQ(std::filesystem::current_path(), "/opt/agent");
    EXPECT_FALSE(testfiles::Exists("/opt/agent/bin/qdn-env"));
}

TEST_F(SetupSequence, ADirectoryThatFailsLeavesTheFileInPlaceAndWritesNoScript) {
    Generate("bindir=/opt/missing\n");
    EXPECT_FALSE(RunSetupSequence(m_context, m_settings));
    EXPECT_EQ(Error::m_sErrorText,
              L"Directory /opt/missing specified in Configuration file, must exist and be writable.");
    EXPECT_TRUE(testfiles::Exists("/opt/agent/etc/client.conf"));
    EXPECT_FALSE(testfiles::Exists("/opt/agent/bin/qdn-env"));
}

TEST_F(SetupSequence, TheIdentifierIsWrittenOnceItsDirectoryIsThere) {
    RunSetupSequence(m_context, m_settings);
    EXPECT_EQ(testfiles::Read("/opt/agent/id/host.GUID"), "{A}\nnull");
}

TEST_F(SetupSequence, AnIdentifierThatIsNotToStayGoesWithTheOldFile) {
    testfiles::Write("/opt/agent/id/host.GUID", "{OLD}\nnull");
    m_settings.Value(L"Guid") = L"";
    RunSetupSequence(m_context, m_settings);
    EXPECT_FALSE(testfiles::Exists("/opt/agent/id/host.GUID"));
}

TEST_F(SetupSequence, AnIdentifierThatIsNotToStayStaysWithAFileThatCannotMove) {
    testfiles::Write("/opt/agent/id/host.GUID", "{OLD}\nnull");
    m_settings.Value(L"Guid") = L"";
    std::filesystem::remove("/opt/agent/etc/client.conf");
    std::filesystem::create_directories("/opt/agent/etc/client.conf/x");
    EXPECT_FALSE(RunSetupSequence(m_context, m_settings));
    EXPECT_EQ(testfiles::Read("/opt/agent/id/host.GUID"), "{OLD}\nnull");
}

TEST_F(SetupSequence, AnIdentifierThatIsNotToStayGoesBeforeAnythingElseCanFail) {
    testfiles::Write("/opt/agent/id/host.GUID", "{OLD}\nnull");
    m_settings.Value(L"Guid") = L"";
    Generate("bindir=/opt/missing\n");
    EXPECT_FALSE(RunSetupSequence(m_context, m_settings));
    EXPECT_FALSE(testfiles::Exists("/opt/agent/id/host.GUID"));
}

TEST_F(SetupSequence, StopsAtTheStepThatFails) {
    EXPECT_FALSE(RunSetupSequence(m_context, m_settings));
    EXPECT_EQ(Error::m_sErrorText, L"Failed to set up the RC scripts.");
    EXPECT_TRUE(testfiles::Exists("/opt/agent/bin/qdn-env"));
    EXPECT_FALSE(testfiles::Exists("/opt/agent/qdn-helper"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
