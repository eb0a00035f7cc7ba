// Which programs get a link, and where there is one to the helper.
#include <algorithm>
#include <unistd.h>

#include "integration/ProgramLinks.h"
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

TEST_F(ProgramLinks, SomebodyElsesHelperStays) {
    testfiles::Write("/opt/agent/links/qdn-helper", "theirs");
    EXPECT_TRUE(CreateProgramLinks(m_context));
    EXPECT_EQ(testfiles::Read("/opt/agent/links/qdn-helper"), "theirs");
}

TEST_F(ProgramLinks, AMissingProgramDirectoryIsNoFailure) {
    std::filesystem::remove_all("/opt/agent/bin");
    EXPECT_TRUE(CreateProgramLinks(m_context));
    EXPECT_EQ(Names("/opt/agent/links"), (std::vector<std::string>{"qdn-helper"}));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
