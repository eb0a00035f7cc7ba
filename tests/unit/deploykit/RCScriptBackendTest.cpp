// Services installed on hosts of every kind.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>

#include "deploykit/RCScriptBackend.h"
#include "tests/support/PrintString.h"
#include "tests/unit/deploykit/RCScriptFixture.h"

using corekit::String;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;
namespace Backend = deploykit::ItemInstallers::RCScriptBackend;

TEST(RCScriptBackend, SupportsLevelsZeroToSix) {
    for (const wchar_t* level : {L"0", L"1", L"2", L"3", L"4", L"5", L"6"})
        EXPECT_TRUE(Backend::IsRunLevelSupported(level)) << String(level).Utf8();
    for (const wchar_t* level : {L"", L"7", L"8", L"9", L"S", L"-1", L"23", L" 2", L"2 "})
        EXPECT_FALSE(Backend::IsRunLevelSupported(level)) << String(level).Utf8();
}

TEST(RCScriptBackend, GivesThePathOfAScript) {
    EXPECT_EQ(Backend::GetLocation(L"zorvane"), L"/etc/init.d/zorvane");
}

TEST_F(RCScriptBackendTest, WritesTheScriptWithTheLevelsOfTheRun) {
    EXPECT_TRUE(Install());
    EXPECT_EQ(testfiles::Read(kScript),
              "#!/bin/sh\n"
              "# chkconfig: 235 90 10\n"
              "### BEGIN INIT INFO\n"
              "# Provides: agent\n"
              "# Required-Start:\n"
              "# Required-Stop:\n"
              "# Default-Start: 2 3 5\n"
              "# Default-Stop: 0 1 4 6\n"
              "# Short-Description: An agent\n"
              "### END INIT INFO\n"
              "run /opt/z/bin/agent /opt/z/etc/agent.conf\n");
    EXPECT_EQ(testfiles::Mode(kScript), 0755U);
}

TEST_F(RCScriptBackendTest, ReplacesAScriptOfAnyMode) {
    testfiles::Write(kScript, "old", 0600);
    EXPECT_TRUE(Install());
    EXPECT_EQ(testfiles::Mode(kScript), 0755U);
    EXPECT_TRUE(testfiles::Read(kScript).starts_with("#!/bin/sh\n"));
}

TEST_F(RCScriptBackendTest, ReplacesALinkInThePlaceOfTheScriptAndNotWhatItLeadsTo) {
    testfiles::Write(m_dir / "bystander", "kept");
    fs::create_symlink(m_dir / "bystander", kScript);
    EXPECT_TRUE(Install());
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(kScript)));
    EXPECT_EQ(testfiles::Read(m_dir / "bystander"), "kept");
}

TEST_F(RCScriptBackendTest, MakesTheDirectoryOfScripts) {
    fs::remove("/etc/init.d");
    EXPECT_TRUE(Install());
    EXPECT_TRUE(testfiles::Exists(kScript));
}

TEST_F(RCScriptBackendTest, MakesLinksItself_WhereThereIsNoTool) {
    EXPECT_TRUE(Install());
    EXPECT_EQ(ServiceHost::Links(), LinksWith("S99"));
    EXPECT_FALSE(testfiles::Exists(kUnit));
}

TEST_F(RCScriptBackendTest, IgnoresUnknownLevels) {
    EXPECT_TRUE(Install(L"3 7 S 8", L""));
    EXPECT_THAT(ServiceHost::Links(), ElementsAre("rc3.d/S99agent -> ../init.d/agent"));
}

TEST_F(RCScriptBackendTest, CallsTheFirstToolThatIsFound) {
    for (const char* tool : {"update-rc.d", "insserv", "chkconfig"}) {
        SCOPED_TRACE(tool);
        m_host.AddTool(tool);
        EXPECT_TRUE(Install());
    }
    EXPECT_EQ(m_host.Calls(), "update-rc.d agent defaults\ninsserv agent\nchkconfig --add agent\n");
}

TEST_F(RCScriptBackendTest, KeepsTheLinksThatAToolMade) {
    m_host.AddTool("chkconfig",
                   "for n in 2 3 5; do /bin/ln -s ../init.d/agent /etc/rc$n.d/S90agent; done\n"
                   "for n in 0 1 4 6; do /bin/ln -s ../init.d/agent /etc/rc$n.d/K10agent; done");
    EXPECT_TRUE(Install());
    EXPECT_THAT(ServiceHost::Links(),
                ElementsAre("rc0.d/K10agent -> ../init.d/agent", "rc1.d/K10agent -> ../init.d/agent",
                            "rc2.d/S90agent -> ../init.d/agent", "rc3.d/S90agent -> ../init.d/agent",
                            "rc4.d/K10agent -> ../init.d/agent", "rc5.d/S90agent -> ../init.d/agent",
                            "rc6.d/K10agent -> ../init.d/agent"));
}

TEST_F(RCScriptBackendTest, MakesTheLinksOfTheLevelsThatAToolPassedOver) {
    m_host.AddTool("chkconfig",
                   "for n in 2 3 5; do /bin/ln -s ../init.d/agent /etc/rc$n.d/S90agent; done\n"
                   "/bin/ln -s ../init.d/agent /etc/rc0.d/K10agent");
    EXPECT_TRUE(Install());
    EXPECT_THAT(ServiceHost::Links(),
                ElementsAre("rc0.d/K10agent -> ../init.d/agent", "rc1.d/K01agent -> ../init.d/agent",
                            "rc2.d/S90agent -> ../init.d/agent", "rc3.d/S90agent -> ../init.d/agent",
                            "rc4.d/K01agent -> ../init.d/agent", "rc5.d/S90agent -> ../init.d/agent",
                            "rc6.d/K01agent -> ../init.d/agent"));
}

TEST_F(RCScriptBackendTest, MakesTheLinksThatAToolLeftOut_WhateverItsStatus) {
    m_host.AddTool("insserv", "exit 0");
    EXPECT_TRUE(Install());
    EXPECT_EQ(ServiceHost::Links(), LinksWith("S99"));

    m_host.AddTool("insserv", "/bin/ln -s ../init.d/agent /etc/rc2.d/S99agent; exit 1");
    EXPECT_TRUE(Install());
    EXPECT_EQ(ServiceHost::Links(), LinksWith("S99"));
}

TEST_F(RCScriptBackendTest, LeavesNoLinkOfLevelsOfAnEarlierInstallation) {
    ASSERT_TRUE(Install(L"2 3 4 5", L"0 1 6"));
    EXPECT_TRUE(Install(L"3", L"6"));
    EXPECT_THAT(ServiceHost::Links(),
                ElementsAre("rc3.d/S99agent -> ../init.d/agent", "rc6.d/K01agent -> ../init.d/agent"));
}

TEST_F(RCScriptBackendTest, RegistersNothingWithoutLevels) {
    m_host.AddTool("chkconfig");
    m_host.AddTool("systemctl");
    EXPECT_TRUE(Install(L"", L""));
    EXPECT_EQ(m_host.Calls(), "");
    EXPECT_THAT(ServiceHost::Links(), IsEmpty());
    EXPECT_TRUE(testfiles::Exists(kScript));
    EXPECT_TRUE(testfiles::Exists(kUnit));
    EXPECT_FALSE(testfiles::Exists("/etc/systemd/system/multi-user.target.wants"));
}

TEST_F(RCScriptBackendTest, StartsAServiceInNoLevel_WhenItHasNoStartLevels) {
    m_host.AddTool("chkconfig");
    EXPECT_TRUE(Install(L"", L"0 6"));
    EXPECT_EQ(m_host.Calls(), "chkconfig --add agent\n");
    EXPECT_THAT(ServiceHost::Links(),
                ElementsAre("rc0.d/K01agent -> ../init.d/agent", "rc6.d/K01agent -> ../init.d/agent"));
    EXPECT_TRUE(testfiles::Read(kScript).starts_with("#!/bin/sh\n# chkconfig: - 90 10\n"));
}

TEST_F(RCScriptBackendTest, GivesAHostWithSystemdAUnitBesideTheLinks) {
    m_host.AddTool("systemctl");
    EXPECT_TRUE(Install());
    EXPECT_EQ(ServiceHost::Links(), LinksWith("S99"));
    EXPECT_TRUE(testfiles::Read(kUnit).find("\nExecStart=/etc/init.d/agent start\n") != std::string::npos);
    EXPECT_EQ(fs::read_symlink("/etc/systemd/system/graphical.target.wants/agent.service"), kUnit);
    EXPECT_EQ(m_host.Calls(), "");
}

TEST_F(RCScriptBackendTest, MakesNoDirectoriesOfLevelsOnAHostThatHasSystemdInstead) {
    for (const char level : std::string("0123456")) fs::remove(std::string("/etc/rc") + level + ".d");
    m_host.AddTool("systemctl");
    EXPECT_TRUE(Install());
    EXPECT_FALSE(testfiles::Exists("/etc/rc3.d"));

    fs::remove(m_host.ToolPath("systemctl"));
    EXPECT_TRUE(Install());
    EXPECT_EQ(ServiceHost::Links(), LinksWith("S99"));
}

TEST_F(RCScriptBackendTest, FailsWithoutAUsableTemplate) {
    const auto expectFailure = [&](int code) {
        const corekit::Result result = Install();
        EXPECT_EQ(result.Code(), code);
        EXPECT_EQ(result.Path(), String::FromUtf8(m_template));
    };
    testfiles::Write(m_template, "");
    expectFailure(ENODATA);
    fs::remove(m_template);
    expectFailure(ENOENT);
    fs::create_directory(m_template);
    expectFailure(EISDIR);
    EXPECT_FALSE(testfiles::Exists(kScript));
    EXPECT_THAT(ServiceHost::Links(), IsEmpty());
}

TEST_F(RCScriptBackendTest, Fails_WhereTheScriptCannotBeWritten) {
    testfiles::Write(std::string(kScript) + "/file", "in the way");
    EXPECT_FALSE(Install());
    EXPECT_FALSE(Backend::Uninstall(L"agent"));
    EXPECT_EQ(testfiles::Read(std::string(kScript) + "/file"), "in the way");
    EXPECT_THAT(ServiceHost::Links(), IsEmpty());
}

TEST_F(RCScriptBackendTest, Fails_WhereNothingWouldStartTheService) {
    fs::remove("/etc/rc3.d");
    testfiles::Write("/etc/rc3.d", "in the way");
    EXPECT_EQ(Install(L"3", L"").Path(), L"/etc/rc3.d");
    EXPECT_TRUE(Install(L"", L"3"));
    m_host.AddTool("systemctl");
    EXPECT_TRUE(Install(L"3", L""));
    fs::remove_all("/etc/systemd/system");
    testfiles::Write("/etc/systemd/system", "in the way");
    EXPECT_EQ(Install(L"3", L"").Path(), L"/etc/rc3.d");
    fs::remove("/etc/rc3.d");
    fs::create_directory("/etc/rc3.d");
    EXPECT_TRUE(Install(L"3", L"")) << "the links alone do";
    fs::remove("/etc/systemd/system");
}

TEST_F(RCScriptBackendTest, RefusesNamesThatAreNoPlainWords) {
    m_host.AddTool("chkconfig");
    for (const wchar_t* name :
         {L"", L".", L"..", L".agent", L"-r", L"a/b", L"../agent", L"a b", L"a;b", L"a*", L"a\n"}) {
        EXPECT_FALSE(Install(L"3", L"", name)) << String(name).Utf8();
        EXPECT_FALSE(Backend::Uninstall(name)) << String(name).Utf8();
    }
    EXPECT_EQ(m_host.Calls(), "");
    EXPECT_TRUE(fs::is_empty("/etc/init.d"));
    EXPECT_TRUE(Install(L"3", L"", L"Agent_6.0-x"));
}

TEST_F(RCScriptBackendTest, WorksWithTheHostsOwnTools) {
    struct Case {
        const char* tool;
        std::string start;
    };
    for (const Case& c : {Case{"insserv", "S01"}, Case{"update-rc.d", "S01"}, Case{"systemctl", "S99"}}) {
        m_host.AddRealTool(c.tool);
        ASSERT_TRUE(Install()) << c.tool;
        EXPECT_EQ(ServiceHost::Links(), LinksWith(c.start)) << c.tool;

        EXPECT_TRUE(Backend::Uninstall(L"agent")) << c.tool;
        EXPECT_THAT(ServiceHost::Links(), IsEmpty()) << c.tool;
        EXPECT_FALSE(testfiles::Exists(kScript)) << c.tool;
        EXPECT_FALSE(testfiles::Exists(kUnit)) << c.tool;
        fs::remove(m_host.ToolPath(c.tool));
    }
}

TEST_F(RCScriptBackendTest, HasTheHostsOwnToolsOnlyStopAServiceWithoutStartLevels) {
    for (const char* tool : {"insserv", "update-rc.d"}) {
        m_host.AddRealTool(tool);
        EXPECT_TRUE(Install(L"", L"0 6")) << tool;
        EXPECT_THAT(ServiceHost::Links(),
                    ElementsAre("rc0.d/K01agent -> ../init.d/agent", "rc6.d/K01agent -> ../init.d/agent"))
            << tool;
        EXPECT_TRUE(Backend::Uninstall(L"agent")) << tool;
        fs::remove(m_host.ToolPath(tool));
    }
}
