// Which program links go with an agent, and which stay.
#include <cerrno>
#include <gtest/gtest.h>

#include "agents/removal/ProgramLinkRemoval.h"
#include "run/Args.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/PrintString.h"
#include "tests/support/ScopedValue.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::Exists;
using testfiles::TempDir;
using testfiles::Write;
using testsupport::Captured;

constexpr const char* kHelper = "/usr/bin/qdn-helper";

/// An agent in agent/ with three programs, and a link directory beside it.
class ProgramLinks : public testing::Test {
  protected:
    ProgramLinks() {
        for (const char* program : {"qdn-configure", "qdn-policymanager", "qdn-monitor"}) {
            Write(Program(program) + ".bin", "program", 0755);
            Write(Program(program), "#!/bin/sh\n", 0755);
            Link(m_links + "/" + program, Program(program));
        }
    }
    ~ProgramLinks() override { std::filesystem::remove(kHelper); }

    static void Link(const std::string& link, const std::string& target) {
        std::filesystem::create_directories(std::filesystem::path(link).parent_path());
        std::filesystem::create_symlink(target, link);
    }

    std::string Program(const std::string& name) const { return m_agent + "/bin/" + name; }
    bool HasLink(const std::string& name) const { return Exists(m_links + "/" + name); }

    /// Returns what is written to standard output.
    std::string Remove60(const std::string& linkDir) {
        return Captured([&] { RemoveProgramLinks60(String::FromUtf8(m_agent), String::FromUtf8(linkDir)); })
            .out;
    }
    std::string RemoveWrappers(const std::string& linkDir) {
        return Captured([&] { RemoveWrapperLinks(String::FromUtf8(m_agent), String::FromUtf8(linkDir)); })
            .out;
    }

    /// `remove` returns 1 when it tells that something is left: where one reading of a link fails.
    template <typename Remove>
    void ExpectLeftToBeTold(Remove&& remove) {
        const std::vector<std::string> links = {m_links + "/qdn-monitor", m_links + "/qdn-policymanager",
                                                m_links + "/qdn-helper"};
        const auto lay = [&] {
            for (const std::string& link : links) std::filesystem::remove(link);
            Link(links[0], Program("qdn-monitor"));
            Link(links[1], Program("qdn-policymanager"));
            Link(links[2], kHelper);
        };
        const auto check = [&](int isTold) {
            for (const std::string& link : links) EXPECT_TRUE(isTold == 1 || !Exists(link)) << link;
        };
        EXPECT_GE(testsupport::FailInTurn({SYS_readlinkat}, EIO, lay, remove, check), 3);
    }

    TempDir m_dir;
    const std::string m_agent = m_dir / "agent";
    const std::string m_links = m_dir / "links";
};

using Links60 = ProgramLinks;
using WrapperLinks = ProgramLinks;

TEST_F(Links60, AreThoseThatLeadToTheAgent) {
    Link(m_links + "/qdn-dangling", m_agent + "/bin/gone");
    Link(m_links + "/qdn-helper", kHelper);
    Write(m_links + "/qdn-directory/file", "");
    Write(m_links + "/other-qdn-file", "");
    Write(m_links + "/qdn", "");

    EXPECT_EQ(Remove60(m_links), "  Removing qdn-* links in " + m_links + "\n");

    for (const char* gone :
         {"qdn-configure", "qdn-policymanager", "qdn-monitor", "qdn-dangling", "qdn-helper"})
        EXPECT_FALSE(HasLink(gone)) << gone;
    for (const char* kept : {"qdn-directory/file", "other-qdn-file", "qdn"})
        EXPECT_TRUE(HasLink(kept)) << kept;
    EXPECT_TRUE(Exists(Program("qdn-monitor")));
}

TEST_F(Links60, GoThroughALinkThatIsADirectory) {
    Write(m_agent + "/target/file", "");
    Link(m_links + "/qdn-to-directory", m_agent + "/target");
    Remove60(m_links);
    EXPECT_FALSE(HasLink("qdn-to-directory"));
    EXPECT_TRUE(Exists(m_agent + "/target/file"));
}

TEST_F(Links60, AreWarnedOfAndLeftAlone_WhereTheyAreNotTheAgents) {
    Write(m_links + "/qdn-file", "an administrator's own");
    Link(m_links + "/qdn-foreign", "/usr/bin/true");
    const auto output =
        Captured([&] { RemoveProgramLinks60(String::FromUtf8(m_agent), String::FromUtf8(m_links)); });
    for (const char* name : {"qdn-file", "qdn-foreign"}) {
        EXPECT_TRUE(HasLink(name)) << name;
        const std::string warning =
            "WARNING! " + m_links + "/" + name + " is not replaced: it is not a link of the agent's.\n";
        EXPECT_NE(output.err.find(warning), std::string::npos) << output.err;
    }
    EXPECT_FALSE(HasLink("qdn-monitor"));
}

TEST_F(Links60, LeaveTheHelper_WhereItsDirectoryIsTheLinkDirectory) {
    Write(kHelper, "");
    const auto output = Captured([&] { RemoveProgramLinks60(String::FromUtf8(m_agent), L"/usr/bin"); });
    EXPECT_TRUE(Exists(kHelper));
    EXPECT_EQ(output.err, "");
}

TEST_F(Links60, CountAsLeft_WhereTheyCannotBeRead) {
    const auto remove = [&] {
        return RemoveProgramLinks60(String::FromUtf8(m_agent), String::FromUtf8(m_links)).Any() ? 1 : 0;
    };
    ExpectLeftToBeTold(remove);
}

TEST_F(Links60, AreNotThere_WhenTheLinkDirectoryIsTheProgramDirectory) {
    Link(m_dir / "alias", m_agent + "/bin");
    for (const std::string& same :
         {m_agent + "/bin", m_agent + "/bin/", m_agent + "//bin", m_agent + "/etc/../bin", m_dir / "alias"}) {
        EXPECT_EQ(Remove60(same), "") << same;
        EXPECT_TRUE(Exists(Program("qdn-monitor"))) << same;
    }
}

TEST_F(Links60, Stay_WhereADirectoryIsNotKnown) {
    EXPECT_EQ(Remove60(""), "");
    const auto output = Captured([&] { RemoveProgramLinks60(L"", String::FromUtf8(m_links)); });
    EXPECT_EQ(output.out, "");
    EXPECT_TRUE(HasLink("qdn-monitor"));
}

TEST_F(Links60, GoSilentlyInAQuietRun) {
    const testsupport::ScopedValue quiet(Args::bQuiet, true);
    EXPECT_EQ(Remove60(m_links), "");
    EXPECT_FALSE(HasLink("qdn-monitor"));
}

TEST_F(Links60, AreAnnounced_EvenIfTheDirectoryIsMissing) {
    EXPECT_EQ(Remove60(m_dir / "absent\x1b[2J"),
              "  Removing qdn-* links in " + m_dir / "absent" + "\\x1b[2J\n");
}

TEST_F(WrapperLinks, GoWithTheirWrappersButForTheProgramThatRuns) {
    EXPECT_EQ(RemoveWrappers(m_links), "  Removing qdn-* links in " + m_links + "\n");
    for (const char* program : {"qdn-policymanager", "qdn-monitor"}) {
        EXPECT_FALSE(HasLink(program)) << program;
        EXPECT_FALSE(Exists(Program(program))) << program;
        EXPECT_TRUE(Exists(Program(program) + ".bin")) << program;
    }
    EXPECT_TRUE(HasLink("qdn-configure"));
    EXPECT_TRUE(Exists(Program("qdn-configure")));
}

TEST_F(WrapperLinks, AreThoseOfTheAgentsProgramsOnly) {
    Link(m_links + "/qdn-foreign", "/usr/bin/true");
    std::filesystem::create_directories(Program("qdn-directory.bin"));
    Link(m_links + "/qdn-directory", Program("qdn-directory"));
    RemoveWrappers(m_links);
    EXPECT_TRUE(HasLink("qdn-foreign"));
    EXPECT_TRUE(HasLink("qdn-directory"));
}

TEST_F(WrapperLinks, StayWithAWarning_WhereTheyAreNotTheAgents) {
    for (const char* program : {"qdn-policymanager", "qdn-monitor"})
        std::filesystem::remove(m_links + "/" + program);
    Write(m_links + "/qdn-monitor", "an administrator's own");
    Link(m_links + "/qdn-policymanager", "/usr/bin/true");
    const auto output =
        Captured([&] { RemoveWrapperLinks(String::FromUtf8(m_agent), String::FromUtf8(m_links)); });
    for (const char* program : {"qdn-policymanager", "qdn-monitor"}) {
        EXPECT_TRUE(HasLink(program)) << program;
        EXPECT_FALSE(Exists(Program(program))) << program;
        const std::string warning =
            "WARNING! " + m_links + "/" + program + " is not replaced: it is not a link of the agent's.\n";
        EXPECT_NE(output.err.find(warning), std::string::npos) << output.err;
    }
}

TEST_F(WrapperLinks, CountAsLeft_WhereTheyCannotBeRead) {
    const auto remove = [&] {
        return RemoveWrapperLinks(String::FromUtf8(m_agent), String::FromUtf8(m_links)).Any() ? 1 : 0;
    };
    ExpectLeftToBeTold(remove);
}

TEST_F(WrapperLinks, OfTheMonitorAreRemoved_EvenWithoutItsProgram) {
    std::filesystem::remove(Program("qdn-monitor.bin"));
    RemoveWrappers(m_links);
    EXPECT_FALSE(HasLink("qdn-monitor"));
    EXPECT_FALSE(Exists(Program("qdn-monitor")));
}

TEST_F(WrapperLinks, LieBesideTheProgramsWithoutALinkDirectory) {
    EXPECT_EQ(RemoveWrappers(""), "  Removing qdn-* links in \n");
    EXPECT_FALSE(Exists(Program("qdn-policymanager")));
    EXPECT_TRUE(Exists(Program("qdn-policymanager.bin")));
    EXPECT_TRUE(Exists(Program("qdn-configure")));
    EXPECT_TRUE(HasLink("qdn-policymanager"));
}

TEST_F(WrapperLinks, Stay_WithoutAnInstallDirectory) {
    Write(kHelper, "");
    const auto output = Captured([&] { RemoveWrapperLinks(L"", String::FromUtf8(m_links)); });
    EXPECT_EQ(output.out, "");
    EXPECT_TRUE(HasLink("qdn-monitor"));
    EXPECT_TRUE(Exists(kHelper));
}

TEST_F(WrapperLinks, GoSilentlyInAQuietRun) {
    const testsupport::ScopedValue quiet(Args::bQuiet, true);
    EXPECT_EQ(RemoveWrappers(m_links), "");
    EXPECT_FALSE(HasLink("qdn-monitor"));
}

TEST_F(WrapperLinks, IncludeTheHelperAndTheLinkToIt) {
    Write(kHelper, "");
    Link(m_links + "/qdn-helper", kHelper);
    RemoveWrappers(m_links);
    EXPECT_FALSE(Exists(kHelper));
    EXPECT_FALSE(HasLink("qdn-helper"));
}

TEST_F(WrapperLinks, LeaveAHelperOfAnotherKindAlone) {
    Link(m_links + "/qdn-helper", "/usr/local/bin/qdn-helper");
    RemoveWrappers(m_links);
    EXPECT_TRUE(HasLink("qdn-helper"));

    std::filesystem::remove(m_links + "/qdn-helper");
    Write(m_links + "/qdn-helper", "an administrator's own");
    RemoveWrappers(m_links);
    EXPECT_TRUE(HasLink("qdn-helper"));
}

TEST_F(WrapperLinks, KeepTheHelper_WhereItsDirectoryIsTheLinkDirectory) {
    Link(m_dir / "alias", "/usr/bin");
    for (const std::string& same : {std::string("/usr/bin"), std::string("/usr/bin/"), m_dir / "alias"}) {
        Write(kHelper, "");
        RemoveWrappers(same);
        EXPECT_TRUE(Exists(kHelper)) << same;
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
