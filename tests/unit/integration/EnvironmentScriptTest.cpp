// The environment script: its text, what a shell makes of it, and how it is written.
#include <algorithm>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/process/Program.h"
#include "integration/SetupSequence.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Installation.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testsupport::Captured;

class EnvironmentScript : public testsupport::Installation {
  protected:
    /// The first line that a shell prints after sourcing the script.
    static String Sourced(const std::string& before, const std::string& after) {
        corekit::StringToMapFilter filter;
        const std::string line = before + "; . '/opt/agent/bin/qdn-env'; " + after;
        EXPECT_TRUE(corekit::PosixLocaleProgram::Run(String::FromUtf8(line), filter));
        return filter.RawData(0);
    }
};

TEST_F(EnvironmentScript, HasItsLinesWithTheDirectoryFilledIn) {
    ASSERT_TRUE(WriteEnvironmentScript(L"/opt/agent/bin/qdn-env", L"/opt/agent"));
    const std::string text = testfiles::Read("/opt/agent/bin/qdn-env");
    EXPECT_EQ(std::ranges::count(text, '\n'), 88);
    EXPECT_TRUE(
        text.starts_with("#!/bin/sh\n#\n#\n# This sets up the basic environment to run zorvane programs.\n"));
    EXPECT_TRUE(text.ends_with("\tulimit -n 1024 1>/dev/null 2>&1\nfi\n\n"));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("%INSTDIR%")));
    EXPECT_THAT(text, testing::HasSubstr("\nQDNCLIENT_CONFIG_FILE=/opt/agent/etc/client.conf\n"));
    EXPECT_EQ(testfiles::Mode("/opt/agent/bin/qdn-env"), 0755U);
}

TEST_F(EnvironmentScript, PutsTheAgentsDirectoriesFirstOnTheSearchPaths) {
    ASSERT_TRUE(WriteEnvironmentScript(L"/opt/agent/bin/qdn-env", L"/opt/agent"));
    EXPECT_EQ(Sourced("PATH=/x:/bin:/usr/bin", "echo $PATH"),
              L"/opt/agent/bin:/sbin:/bin:/usr/sbin:/usr/bin:/x:/bin:/usr/bin");
    EXPECT_EQ(Sourced("PATH=/usr/bin:/opt/agent/bin", "echo $PATH"), L"/usr/bin:/opt/agent/bin");
    EXPECT_EQ(Sourced(":", "echo $LD_LIBRARY_PATH"), L"/opt/agent/lib");
    EXPECT_EQ(Sourced(":", "echo $QDNCLIENT_CONFIG_FILE"), L"/opt/agent/etc/client.conf");
    EXPECT_EQ(Sourced("RPM_INSTALL_PREFIX=/x; export RPM_INSTALL_PREFIX", "echo [$RPM_INSTALL_PREFIX]"),
              L"[]");
}

TEST_F(EnvironmentScript, TakesADirectoryWithBlanksAsItStands) {
    ASSERT_TRUE(WriteEnvironmentScript(L"/opt/agent/b c/qdn-env", L"/opt/a b"));
    EXPECT_THAT(testfiles::Read("/opt/agent/b c/qdn-env"),
                testing::HasSubstr("\nQDNCLIENT_CONFIG_FILE=/opt/a b/etc/client.conf\n"));
}

TEST_F(EnvironmentScript, ExpandsNothingButTheInstallDirectory) {
    ASSERT_TRUE(WriteEnvironmentScript(L"/opt/agent/bin/qdn-env", L"%ETCDIR%"));
    EXPECT_THAT(testfiles::Read("/opt/agent/bin/qdn-env"),
                testing::HasSubstr("QDNCLIENT_CONFIG_FILE=%ETCDIR%/etc/client.conf"));
}

TEST_F(EnvironmentScript, ReplacesWhatIsThere) {
    testfiles::Write("/opt/agent/bin/qdn-env", "other", 0600);
    ASSERT_TRUE(WriteEnvironmentScript(L"/opt/agent/bin/qdn-env", L"/opt/agent"));
    EXPECT_EQ(testfiles::Mode("/opt/agent/bin/qdn-env"), 0755U);
    EXPECT_TRUE(testfiles::Read("/opt/agent/bin/qdn-env").starts_with("#!/bin/sh\n"));
}

TEST_F(EnvironmentScript, ReplacesALinkWithoutFollowingIt) {
    testfiles::Write("/opt/agent/precious", "keep");
    std::filesystem::create_directories("/opt/agent/bin");
    ASSERT_EQ(symlink("/opt/agent/precious", "/opt/agent/bin/qdn-env"), 0);
    ASSERT_TRUE(WriteEnvironmentScript(L"/opt/agent/bin/qdn-env", L"/opt/agent"));
    EXPECT_EQ(testfiles::Read("/opt/agent/precious"), "keep");
    EXPECT_FALSE(std::filesystem::is_symlink("/opt/agent/bin/qdn-env"));
}

TEST_F(EnvironmentScript, GivesTheStepThatFailed) {
    std::filesystem::create_directories("/opt/agent/bin");
    const auto write = [] {
        const auto outcome = WriteEnvironmentScript(L"/opt/agent/bin/qdn-env", L"/opt/agent");
        if (outcome) return 0;
        return outcome.error().text.StartsWith(L"Unable to set permissions on file: ") ? 2 : 1;
    };
    std::vector<int> failures;
    testsupport::FailInTurn(
        {SYS_fchmod}, EIO, [] {}, write, [&](int failure) { failures.push_back(failure); });
    EXPECT_THAT(failures, testing::ElementsAre(1, 2));
}

TEST_F(EnvironmentScript, Fails_WhenItCannotBeWritten) {
    std::filesystem::create_directories("/opt/agent/bin/qdn-env/x");
    const auto outcome = WriteEnvironmentScript(L"/opt/agent/bin/qdn-env", L"/opt/agent");
    EXPECT_EQ(TextOf(outcome), L"Unable to write to file: /opt/agent/bin/qdn-env");
    EXPECT_EQ(ReasonOf(outcome), L"/opt/agent/bin/qdn-env: Is a directory");
    EXPECT_EQ(CheckEnvironmentScript(m_context).error(), outcome.error());
}

TEST_F(EnvironmentScript, TheStepSaysWhatItDoes_UnlessQuiet) {
    EXPECT_EQ(Captured([&] { EXPECT_TRUE(CreateScriptsStep(m_context)); }).out,
              "Creating customized RC and environment scripts.\n");
    Args::bQuiet = true;
    EXPECT_EQ(Captured([&] { EXPECT_TRUE(CreateScriptsStep(m_context)); }).out, "");
    EXPECT_TRUE(testfiles::Exists("/opt/agent/bin/qdn-env"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
