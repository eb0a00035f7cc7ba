// Program links: what is written, what an operator's call does, and what stays.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

#include "corekit/text/String.h"
#include "deploykit/WrapperLinkBackend.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/Printed.h"
#include "tests/support/TestFiles.h"

using corekit::Expected;
using corekit::Result;
using corekit::String;
using testsupport::Printed;

namespace fs = std::filesystem;
namespace Backend = deploykit::ItemInstallers::WrapperLinkBackend;

namespace {

/// An installation with one program, which tells its environment and its arguments.
class Installation {
  public:
    explicit Installation(const std::string& name = "agent") : m_root(m_dir / name) {
        testfiles::Write(Bin() + "/qdn-monitor.bin", "#!/bin/sh\nprintf '<%s>' \"$WHERE\" \"$@\"\n", 0755);
        testfiles::Write(Bin() + "/qdn-env", "WHERE=env; export WHERE\n");
        fs::create_directory(m_dir / "links");
    }

    std::string Bin() const { return m_root + "/bin"; }
    std::string Wrapper() const { return Bin() + "/qdn-monitor"; }
    std::string LinkDir() const { return m_dir / "links"; }
    std::string Link() const { return LinkDir() + "/qdn-monitor"; }

    Result Install(const std::string& linkDir, const Expected<bool>& ownsAll = true) const {
        return Backend::Install(L"qdn-monitor", String::FromUtf8(linkDir), String::FromUtf8(Bin()),
                                String::FromUtf8(Bin() + "/qdn-env"), [=](const String&) { return ownsAll; });
    }
    Result Uninstall(const std::string& linkDir, const Expected<bool>& ownsAll = true) const {
        return Backend::Uninstall(L"qdn-monitor", String::FromUtf8(linkDir), String::FromUtf8(Bin()),
                                  [=](const String&) { return ownsAll; });
    }

  private:
    testfiles::TempDir m_dir;
    std::string m_root;
};

}  // namespace

TEST(WrapperLinkBackend, WritesAWrapperAndALinkToIt) {
    const Installation agent;
    EXPECT_TRUE(agent.Install(agent.LinkDir()));
    EXPECT_EQ(testfiles::Read(agent.Wrapper()),
              "#!/bin/sh\n"
              "# Runs a program in its environment. Made by the installation: changes are lost.\n"
              ". '" +
                  agent.Bin() +
                  "/qdn-env'\n"
                  "exec '" +
                  agent.Bin() + "/qdn-monitor.bin' \"$@\"\n");
    EXPECT_EQ(testfiles::Mode(agent.Wrapper()), 0755U);
    EXPECT_EQ(fs::read_symlink(agent.Link()), agent.Wrapper());
}

TEST(WrapperLinkBackend, PassesArgumentsAndEnvironmentOnInDirectoriesOfAnyName) {
    for (const char* name :
         {"agent", "kell agent", "it's", "$HOME", "`id`$(id)", "a\"b\\", "-n", "q\nr", "*"}) {
        const Installation agent(name);
        ASSERT_TRUE(agent.Install(agent.LinkDir())) << name;
        EXPECT_EQ(Printed("cd / && " + agent.Link() + " 'two words' '' '$x'"), "<env><two words><><$x>")
            << name;
    }
}

TEST(WrapperLinkBackend, MakesOnlyTheWrapperWithoutADirectoryOfLinks) {
    const Installation agent;
    EXPECT_TRUE(agent.Install(""));
    EXPECT_TRUE(testfiles::Exists(agent.Wrapper()));
    EXPECT_FALSE(testfiles::Exists("/qdn-monitor"));
    EXPECT_FALSE(testfiles::Exists("qdn-monitor"));
}

TEST(WrapperLinkBackend, MakesOnlyTheWrapper_WhereBothDirectoriesAreOne) {
    const Installation agent;
    fs::create_directory_symlink(agent.Bin(), agent.LinkDir() + "/bin");
    for (const std::string& linkDir : {agent.Bin(), agent.Bin() + "/", agent.LinkDir() + "/bin"}) {
        EXPECT_TRUE(agent.Install(linkDir)) << linkDir;
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(agent.Wrapper()))) << linkDir;
        EXPECT_TRUE(agent.Uninstall(linkDir)) << linkDir;
        EXPECT_FALSE(testfiles::Exists(agent.Wrapper())) << linkDir;
    }
}

TEST(WrapperLinkBackend, ReplacesWhatIsTheCallersInItsPlaces) {
    const Installation agent;
    testfiles::Write(agent.LinkDir() + "/bystander", "kept");
    testfiles::Write(agent.Wrapper(), "old", 0600);
    fs::create_symlink("bystander", agent.Link());
    EXPECT_TRUE(agent.Install(agent.LinkDir()));
    EXPECT_EQ(testfiles::Mode(agent.Wrapper()), 0755U);
    EXPECT_EQ(Printed(agent.Link()), "<env>");
    EXPECT_EQ(testfiles::Read(agent.LinkDir() + "/bystander"), "kept");

    fs::remove(agent.Link());
    testfiles::Write(agent.Link(), "an old program");
    EXPECT_TRUE(agent.Install(agent.LinkDir()));
    EXPECT_EQ(fs::read_symlink(agent.Link()), agent.Wrapper());
}

TEST(WrapperLinkBackend, ReplacesNoFileOrLinkThatIsNotTheCallers) {
    const Installation agent;
    testfiles::Write(agent.LinkDir() + "/bystander", "kept");
    const auto expectForeign = [&](const Result& result) {
        EXPECT_EQ(result, Result(EEXIST));
        EXPECT_EQ(result.Path(), String::FromUtf8(agent.Link()));
    };

    testfiles::Write(agent.Link(), "another program");
    expectForeign(agent.Install(agent.LinkDir(), false));
    EXPECT_EQ(testfiles::Read(agent.Link()), "another program");
    EXPECT_EQ(Printed(agent.Wrapper()), "<env>");

    for (const std::string& target : {std::string("bystander"), std::string("/nowhere"), agent.Bin()}) {
        fs::remove(agent.Link());
        fs::create_symlink(target, agent.Link());
        expectForeign(agent.Install(agent.LinkDir(), false));
        EXPECT_EQ(fs::read_symlink(agent.Link()), target);
    }
}

TEST(WrapperLinkBackend, RemovesNoFileOrLinkThatIsNotTheCallers) {
    const Installation agent;
    testfiles::Write(agent.Link(), "another program");
    testfiles::Write(agent.Wrapper(), "a wrapper");
    EXPECT_EQ(agent.Uninstall(agent.LinkDir(), false), Result(EEXIST));
    EXPECT_EQ(testfiles::Read(agent.Link()), "another program");
    EXPECT_FALSE(testfiles::Exists(agent.Wrapper()));

    for (const std::string& target : {std::string("bystander"), std::string("/nowhere"), agent.Bin()}) {
        fs::remove(agent.Link());
        fs::create_symlink(target, agent.Link());
        const Result result = agent.Uninstall(agent.LinkDir(), false);
        EXPECT_EQ(result, Result(EEXIST));
        EXPECT_EQ(result.Path(), String::FromUtf8(agent.Link()));
        EXPECT_EQ(fs::read_symlink(agent.Link()), target);
    }
}

TEST(WrapperLinkBackend, LeavesALinkAlone_WhereItIsNotKnownWhoseItIs) {
    const Installation agent;
    fs::create_symlink("bystander", agent.Link());
    EXPECT_EQ(agent.Install(agent.LinkDir(), Result(EIO)), Result(EIO));
    const Result removal = agent.Uninstall(agent.LinkDir(), Result(EIO));
    EXPECT_EQ(removal, Result(EIO));
    EXPECT_EQ(removal.Path(), String::FromUtf8(agent.Link()));
    EXPECT_EQ(fs::read_symlink(agent.Link()), "bystander");
}

TEST(WrapperLinkBackend, LeavesDirectoriesInItsPlacesAlone) {
    const Installation agent;
    testfiles::Write(agent.Link() + "/file", "kept");
    EXPECT_EQ(agent.Install(agent.LinkDir(), false), Result(EEXIST));
    EXPECT_FALSE(agent.Install(agent.LinkDir()));
    EXPECT_TRUE(agent.Uninstall(agent.LinkDir()));
    EXPECT_EQ(testfiles::Read(agent.Link() + "/file"), "kept");

    testfiles::Write(agent.Wrapper() + "/file", "kept");
    EXPECT_FALSE(agent.Install(agent.LinkDir()));
    EXPECT_TRUE(agent.Uninstall(agent.LinkDir()));
    EXPECT_EQ(testfiles::Read(agent.Wrapper() + "/file"), "kept");
}

TEST(WrapperLinkBackend, FailsWithoutAPlaceForTheLinkOrTheWrapper) {
    const Installation agent;
    const Result noLink = agent.Install(agent.LinkDir() + "/none");
    EXPECT_EQ(noLink, Result(ENOENT));
    EXPECT_EQ(noLink.Path(), String::FromUtf8(agent.LinkDir() + "/none/qdn-monitor"));
    fs::remove_all(agent.Bin());
    const Result noWrapper = agent.Install(agent.LinkDir());
    EXPECT_EQ(noWrapper, Result(ENOENT));
    EXPECT_EQ(noWrapper.Path(), String::FromUtf8(agent.Wrapper()));
    EXPECT_FALSE(testfiles::Exists(agent.Link()));
}

TEST(WrapperLinkBackend, UninstallRemovesBothAndNothingElse) {
    const Installation agent;
    ASSERT_TRUE(agent.Install(agent.LinkDir()));
    EXPECT_TRUE(agent.Uninstall(agent.LinkDir()));
    EXPECT_FALSE(testfiles::Exists(agent.Link()));
    EXPECT_FALSE(testfiles::Exists(agent.Wrapper()));
    EXPECT_TRUE(testfiles::Exists(agent.Wrapper() + ".bin"));
    EXPECT_TRUE(testfiles::Exists(agent.Bin() + "/qdn-env"));
}

TEST(WrapperLinkBackend, UninstallOfWhatIsNotThereIsSuccess) {
    const Installation agent;
    EXPECT_TRUE(agent.Uninstall(agent.LinkDir()));
    EXPECT_TRUE(agent.Uninstall(""));
    EXPECT_TRUE(agent.Uninstall(agent.LinkDir() + "/none"));
    EXPECT_TRUE(agent.Uninstall(agent.Wrapper() + ".bin"));
}

TEST(WrapperLinkBackend, Fails_WhenAStepFails) {
    const Installation agent;
    const auto expectFailure = [](int failed) { EXPECT_EQ(failed, 1); };
    const auto install = [&] { return agent.Install(agent.LinkDir()) ? 0 : 1; };
    const auto uninstall = [&] { return agent.Uninstall(agent.LinkDir()) ? 0 : 1; };
    const auto clear = [&] { ASSERT_TRUE(agent.Uninstall(agent.LinkDir())); };
    EXPECT_EQ(
        testsupport::FailInTurn({SYS_write, SYS_fchmod, SYS_symlinkat}, EIO, clear, install, expectFailure),
        3);
    EXPECT_EQ(testsupport::FailInTurn(
                  {SYS_unlink, SYS_unlinkat}, EIO, [] {}, uninstall, expectFailure),
              2);
}

TEST(WrapperLinkBackend, LeavesALinkAlone_WhereItCannotBeLookedAt) {
    const Installation agent;
    ASSERT_TRUE(agent.Install(agent.LinkDir()));
    testsupport::WithFailing({{SYS_newfstatat, EIO}}, [&] {
        const Result removed = agent.Uninstall(agent.LinkDir(), false);
        EXPECT_EQ(removed, Result(EIO));
        EXPECT_EQ(removed.Path().Utf8(), agent.Link());
        return 0;
    });
    EXPECT_TRUE(fs::is_symlink(agent.Link()));
}
