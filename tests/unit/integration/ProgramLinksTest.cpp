// Which programs get a link, and where there is one to the helper.
#include <algorithm>
#include <cerrno>
#include <sys/syscall.h>
#include <unistd.h>

#include "integration/SetupSequence.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Installation.h"

namespace Zorvane::AgentInstaller {
namespace {

class ProgramLinks : public testsupport::Installation {
  protected:
    void SetUp() override {
        Configure("bindir=/opt/agent/links\n");
        std::filesystem::create_directories("/opt/agent/links");
        std::filesystem::create_directories("/opt/agent/bin/qdn-policymanager.bin");
        for (const char* program :
             {"qdn-monitor.bin", "qdn-configure.bin", "qdn-foo.bin", "qdn-env.bin", "other.bin"}) {
            testfiles::Write(std::string("/opt/agent/bin/") + program, "#!/bin/sh\n", 0755);
        }
    }

    /// What the step writes to standard error; it succeeds in any case.
    std::string Warnings() {
        const auto output = testsupport::Captured([&] { EXPECT_TRUE(CreateProgramLinks(m_context)); });
        EXPECT_EQ(output.out, "");
        return output.err;
    }

    static std::vector<std::string> Names(const std::string& directory) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory))
            names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }
};

TEST_F(ProgramLinks, KnownProgramsAndTheHelperGetALink) {
    EXPECT_TRUE(CreateProgramLinks(m_context));
    EXPECT_EQ(Names("/opt/agent/links"),
              (std::vector<std::string>{"qdn-configure", "qdn-helper", "qdn-monitor"}));
    EXPECT_EQ(std::filesystem::read_symlink("/opt/agent/links/qdn-helper"), "/usr/bin/qdn-helper");
}

TEST_F(ProgramLinks, TheEnvironmentScriptIsNotReplacedByAWrapper) {
    testfiles::Write("/opt/agent/bin/qdn-env", "environment");
    EXPECT_TRUE(CreateProgramLinks(m_context));
    EXPECT_EQ(testfiles::Read("/opt/agent/bin/qdn-env"), "environment");
}

TEST_F(ProgramLinks, InUsrBinThereIsNoLinkToTheHelper) {
    Configure("bindir=/usr/bin\n");
    EXPECT_TRUE(CreateProgramLinks(m_context));
    EXPECT_TRUE(std::filesystem::is_symlink("/usr/bin/qdn-monitor"));
    EXPECT_FALSE(testfiles::Exists("/usr/bin/qdn-helper"));
    unlink("/usr/bin/qdn-monitor");
    unlink("/usr/bin/qdn-configure");
}

TEST_F(ProgramLinks, UsrBinByAnotherNameGetsNoLinkToTheHelperEither) {
    std::filesystem::create_directory_symlink("/usr/bin", "/opt/programs");
    for (const char* directory : {"/usr/bin/", "/usr/../usr/bin", "//usr//bin", "/opt/programs"}) {
        SCOPED_TRACE(directory);
        Configure(std::string("bindir=") + directory + "\n");
        EXPECT_TRUE(CreateProgramLinks(m_context));
        EXPECT_FALSE(std::filesystem::is_symlink("/usr/bin/qdn-helper"));
    }
    unlink("/usr/bin/qdn-monitor");
    unlink("/usr/bin/qdn-configure");
}

TEST_F(ProgramLinks, WithoutADirectoryThereAreNone) {
    Configure("");
    const testfiles::TempDir dir;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.Path());
    EXPECT_TRUE(CreateProgramLinks(m_context));
    std::filesystem::current_path(before);
    EXPECT_EQ(Names(dir.Path()), std::vector<std::string>{});
}

TEST_F(ProgramLinks, LeaveTheHelperOfSomebodyElseAloneAndSaySo) {
    testfiles::Write("/opt/agent/links/qdn-helper", "theirs");
    EXPECT_EQ(Warnings(),
              "WARNING! /opt/agent/links/qdn-helper is not replaced: it is not a link of the agent's.\n");
    EXPECT_EQ(testfiles::Read("/opt/agent/links/qdn-helper"), "theirs");
}

TEST_F(ProgramLinks, LeaveALinkOfTheHelpersNameThatLeadsElsewhereAloneAndSaySo) {
    std::filesystem::create_symlink("/usr/bin/true", "/opt/agent/links/qdn-helper");
    EXPECT_EQ(Warnings(),
              "WARNING! /opt/agent/links/qdn-helper is not replaced: it is not a link of the agent's.\n");
    EXPECT_EQ(std::filesystem::read_symlink("/opt/agent/links/qdn-helper"), "/usr/bin/true");
}

TEST_F(ProgramLinks, AreToldAsMissing_WhenTheProgramsCannotBeListed) {
    testsupport::WithFailing({{SYS_getdents64, EIO}}, [&] {
        EXPECT_EQ(Warnings(), "WARNING! /opt/agent/links/qdn-* could not be made: Input/output error.\n");
        return 0;
    });
}

TEST_F(ProgramLinks, LeaveAProgramOfSomebodyElseAloneAndSaySo) {
    testfiles::Write("/opt/agent/links/qdn-monitor", "theirs");
    std::filesystem::create_symlink("/usr/bin/true", "/opt/agent/links/qdn-configure");
    const std::string warnings = Warnings();
    for (const std::string path : {"/opt/agent/links/qdn-monitor", "/opt/agent/links/qdn-configure"}) {
        const std::string warning =
            "WARNING! " + path + " is not replaced: it is not a link of the agent's.\n";
        EXPECT_NE(warnings.find(warning), std::string::npos) << warnings;
    }
    EXPECT_EQ(testfiles::Read("/opt/agent/links/qdn-monitor"), "theirs");
    EXPECT_EQ(std::filesystem::read_symlink("/opt/agent/links/qdn-configure"), "/usr/bin/true");
    EXPECT_TRUE(testfiles::Exists("/opt/agent/bin/qdn-monitor"));
    EXPECT_EQ(Warnings(), "") << "each is told once in a run";
}

TEST_F(ProgramLinks, ReplaceThoseOfAnAgentInAnotherDirectory) {
    testfiles::Write("/opt/former/etc/client.proto", "");
    std::filesystem::create_symlink("/opt/former/bin/qdn-monitor", "/opt/agent/links/qdn-monitor");
    EXPECT_EQ(Warnings(), "");
    EXPECT_EQ(std::filesystem::read_symlink("/opt/agent/links/qdn-monitor"), "/opt/agent/bin/qdn-monitor");
}

TEST_F(ProgramLinks, ReplaceTheOneToAProgramThatIsGone) {
    std::filesystem::create_symlink("/opt/gone/bin/qdn-monitor", "/opt/agent/links/qdn-monitor");
    EXPECT_EQ(Warnings(), "");
    EXPECT_EQ(std::filesystem::read_symlink("/opt/agent/links/qdn-monitor"), "/opt/agent/bin/qdn-monitor");
}

TEST_F(ProgramLinks, GiveTheReason_WhenOneCouldNotBeMade) {
    std::filesystem::remove_all("/opt/agent/links");
    std::filesystem::create_directories("/opt/agent/bin/qdn-monitor");
    const std::string warnings = Warnings();
    for (const std::string warning :
         {"WARNING! /opt/agent/bin/qdn-monitor could not be made: Is a directory.\n",
          "WARNING! /opt/agent/links/qdn-configure could not be made: No such file or directory.\n",
          "WARNING! /opt/agent/links/qdn-helper could not be made: No such file or directory.\n"}) {
        EXPECT_NE(warnings.find(warning), std::string::npos) << warnings;
    }
}

TEST_F(ProgramLinks, AMissingProgramDirectoryIsNoFailure) {
    std::filesystem::remove_all("/opt/agent/bin");
    EXPECT_TRUE(CreateProgramLinks(m_context));
    EXPECT_EQ(Names("/opt/agent/links"), (std::vector<std::string>{"qdn-helper"}));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
