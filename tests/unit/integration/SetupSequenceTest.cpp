// The set-up sequence: the move of client.conf into place, the order of the steps, and where it stops.
#include <sys/stat.h>
#include <sys/xattr.h>

#include "integration/SetupSequence.h"
#include "tests/support/Installation.h"
#include "tests/support/Mount.h"

namespace Zorvane::AgentInstaller {
namespace {

class SetupSequence : public testsupport::Installation {
  protected:
    void SetUp() override {
        Args::bQuiet = true;
        m_context.generatedConfPath = m_context.confPath = L"/tmp/generated";
        Generate("bindir=/opt/agent\ntmpdir=/tmp\nvar=/opt/agent/var\n");
        m_settings.Value(L"Guid") = L"{A}";
    }

    Outcome<> PlaceAndRun() {
        const auto placed = PlaceClientConf(m_context);
        return placed ? RunSetupSequence(m_context) : placed;
    }

    /// What the look finds before anything changes is what the run fails with.
    void ExpectLookAndRunToFail(const wchar_t* text, const wchar_t* reason) {
        for (const auto& outcome : {CheckSetupSequence(m_context), PlaceAndRun()}) {
            EXPECT_EQ(TextOf(outcome), text);
            EXPECT_EQ(ReasonOf(outcome), reason);
        }
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

TEST_F(SetupSequence, ReplacesTheOldFileByTheGeneratedOne) {
    testfiles::Write("/opt/agent/etc/client.conf", "old");
    testfiles::Write("/opt/agent/etc/rcscript.proto.linux", "#!/bin/sh\n");
    EXPECT_TRUE(PlaceAndRun());
    EXPECT_TRUE(testfiles::Read("/opt/agent/etc/client.conf")
                    .starts_with("[Configuration]\ninstalldir=/opt/agent\n"));
    EXPECT_FALSE(testfiles::Exists("/tmp/generated"));
    EXPECT_EQ(m_context.confPath, L"/opt/agent/etc/client.conf");
    EXPECT_EQ(std::filesystem::current_path(), "/opt/agent");
}

TEST_F(SetupSequence, GivesTheNewFileTheAttributesOfTheOldOneAndNoneOfTheGeneratedOne) {
    const char* const conf = "/opt/agent/etc/client.conf";
    testfiles::Write(conf, "old");
    ASSERT_EQ(setxattr(conf, "trusted.label", "of the place", 12, 0), 0);
    ASSERT_EQ(setxattr("/tmp/generated", "trusted.other", "of /tmp", 7, 0), 0);
    ASSERT_TRUE(PlaceClientConf(m_context));
    char value[64] = {};
    EXPECT_EQ(getxattr(conf, "trusted.label", value, sizeof value), 12);
    EXPECT_STREQ(value, "of the place");
    EXPECT_EQ(getxattr(conf, "trusted.other", value, sizeof value), -1);
    EXPECT_FALSE(m_context.isFirst);
}

TEST_F(SetupSequence, GivesAFirstFileNoAttributesOfTheGeneratedOne) {
    const char* const conf = "/opt/agent/etc/client.conf";
    std::filesystem::remove(conf);
    ASSERT_EQ(setxattr("/tmp/generated", "trusted.other", "of /tmp", 7, 0), 0);
    ASSERT_TRUE(PlaceClientConf(m_context));
    char value[64] = {};
    EXPECT_EQ(getxattr(conf, "trusted.other", value, sizeof value), -1);
    EXPECT_TRUE(m_context.isFirst);
}

TEST_F(SetupSequence, Fails_WhenADirectoryStandsInPlaceOfClientConf) {
    testfiles::Write("/opt/agent/id/host.GUID", "{OLD}\nnull");
    m_settings.Value(L"Guid") = L"";
    std::filesystem::remove("/opt/agent/etc/client.conf");
    std::filesystem::create_directories("/opt/agent/etc/client.conf/x");
    ExpectLookAndRunToFail(L"Failed to create the new config file: /opt/agent/etc/client.conf",
                           L"/opt/agent/etc/client.conf: Is a directory");
    EXPECT_FALSE(testfiles::Exists("/opt/agent/bin/qdn-env"));
    EXPECT_EQ(testfiles::Read("/opt/agent/id/host.GUID"), "{OLD}\nnull");
}

TEST_F(SetupSequence, LeavesTheFileInPlaceAndWritesNoScript_WhenADirectoryFails) {
    Generate("bindir=/opt/missing\n");
    ExpectLookAndRunToFail(
        L"Directory /opt/missing specified in Configuration file, must exist and be writable.",
        L"/opt/missing: No such file or directory");
    EXPECT_TRUE(testfiles::Exists("/opt/agent/etc/client.conf"));
    EXPECT_FALSE(testfiles::Exists("/opt/agent/bin/qdn-env"));
}

TEST_F(SetupSequence, FailsAsTheLookDoes_WhenADirectoryStandsInPlaceOfAScript) {
    testfiles::Write("/opt/agent/etc/rcscript.proto.linux", "#!/bin/sh\n");
    std::filesystem::create_directories("/opt/agent/bin/qdn-env/x");
    ExpectLookAndRunToFail(L"Unable to write to file: /opt/agent/bin/qdn-env",
                           L"/opt/agent/bin/qdn-env: Is a directory");
}

TEST_F(SetupSequence, WritesTheIdentifierBeforeClientConfMoves_WhenAnAgentIsReplaced) {
    m_context.replacesAgent = true;
    ASSERT_TRUE(PlaceClientConf(m_context));
    EXPECT_EQ(testfiles::Read("/opt/agent/id/host.GUID"), "{A}\nnull");
    EXPECT_FALSE(testfiles::Exists("/opt/agent/q"));
}

TEST_F(SetupSequence, FailsBeforeClientConfMoves_WhenTheInstalledIdentifierWouldBeLost) {
    testfiles::Write("/opt/agent/etc/client.conf", "old");
    std::filesystem::create_directories("/opt/agent/id/host.GUID");
    m_settings.Set(L"Guid", L"{A}", {Source::Kind::Installed, L"/opt/old/host.GUID"});
    m_context.replacesAgent = true;
    EXPECT_EQ(TextOf(PlaceClientConf(m_context)), L"Unable to write to file: /opt/agent/id/host.GUID");
    EXPECT_EQ(testfiles::Read("/opt/agent/etc/client.conf"), "old");
}

TEST_F(SetupSequence, WritesNoIdentifier_WhereTheConfigurationNamesNoFileForIt) {
    testfiles::Write("/tmp/generated", "[Configuration]\ninstalldir=/opt/agent\n", 0600);
    m_context.replacesAgent = true;
    EXPECT_TRUE(PlaceClientConf(m_context));
    EXPECT_EQ(testfiles::NamesIn("/opt/agent"), std::vector<std::string>{"etc"});
}

TEST_F(SetupSequence, Fails_WhenTheGeneratedFileIsGone) {
    std::filesystem::remove("/tmp/generated");
    const auto placed = PlaceClientConf(m_context);
    EXPECT_EQ(TextOf(placed), L"Failed to create the new config file: /opt/agent/etc/client.conf");
    EXPECT_EQ(ReasonOf(placed), L"/tmp/generated: No such file or directory");
}

TEST_F(SetupSequence, KeepsTheOldFile_WhenTheDiskIsFull) {
    const auto disk = testsupport::Mount::Tmpfs("/opt/agent/etc", "size=8k");
    testfiles::Write("/opt/agent/etc/client.conf", "old");
    Generate("comment=" + std::string(64 << 10, 'x') + "\n");
    const auto placed = PlaceClientConf(m_context);
    EXPECT_EQ(TextOf(placed), L"Failed to create the new config file: /opt/agent/etc/client.conf");
    EXPECT_EQ(ReasonOf(placed), L"/opt/agent/etc/client.conf: No space left on device");
    EXPECT_EQ(testfiles::Read("/opt/agent/etc/client.conf"), "old");
    EXPECT_EQ(testfiles::NamesIn("/opt/agent/etc"), std::vector<std::string>{"client.conf"});
}

TEST_F(SetupSequence, WritesAFirstIdentifierWithTheOtherDirectories) {
    testfiles::Write("/opt/agent/etc/rcscript.proto.linux", "#!/bin/sh\n");
    ASSERT_TRUE(PlaceClientConf(m_context));
    EXPECT_FALSE(testfiles::Exists("/opt/agent/id"));
    ASSERT_TRUE(RunSetupSequence(m_context));
    EXPECT_EQ(testfiles::Read("/opt/agent/id/host.GUID"), "{A}\nnull");
}

TEST_F(SetupSequence, WarnsOnceThatTheIdentifierCannotBeWritten) {
    testfiles::Write("/opt/agent/etc/rcscript.proto.linux", "#!/bin/sh\n");
    std::filesystem::create_directories("/opt/agent/id/host.GUID");
    for (const bool replacesAgent : {true, false}) {
        m_context.replacesAgent = replacesAgent;
        Generate("bindir=/opt/agent\ntmpdir=/tmp\nvar=/opt/agent/var\n");
        m_context.confPath = L"/tmp/generated";
        const auto output = testsupport::Captured([&] { EXPECT_TRUE(PlaceAndRun()); });
        EXPECT_EQ(output.err, "WARNING! /opt/agent/id/host.GUID is not written: it is not a regular file.\n");
    }
}

TEST_F(SetupSequence, RemovesAnUnwantedIdentifierWithTheOldFile) {
    testfiles::Write("/opt/agent/id/host.GUID", "{OLD}\nnull");
    m_settings.Value(L"Guid") = L"";
    Generate("bindir=/opt/missing\n");
    EXPECT_FALSE(PlaceAndRun());
    EXPECT_FALSE(testfiles::Exists("/opt/agent/id/host.GUID"));
}

TEST_F(SetupSequence, StopsAtTheStepThatFails) {
    ExpectLookAndRunToFail(L"Failed to set up the RC scripts.",
                           L"/opt/agent/etc/rcscript.proto.linux: No such file or directory");
    EXPECT_TRUE(testfiles::Exists("/opt/agent/bin/qdn-env"));
    EXPECT_FALSE(testfiles::Exists("/opt/agent/qdn-helper"));
}

TEST_F(SetupSequence, ChangesNothing_WhileItOnlyLooks) {
    testfiles::Write("/opt/agent/etc/rcscript.proto.linux", "#!/bin/sh\n");
    std::filesystem::current_path("/opt");
    EXPECT_TRUE(CheckSetupSequence(m_context));
    EXPECT_EQ(std::filesystem::current_path(), "/opt");
    EXPECT_TRUE(testfiles::Exists("/tmp/generated"));
    for (const char* path : {"id", "q", "bin", "var"})
        EXPECT_FALSE(testfiles::Exists(std::string("/opt/agent/") + path)) << path;
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
