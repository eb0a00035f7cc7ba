// Services uninstalled from hosts of every kind.
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/syscall.h>

#include "deploykit/RCScriptBackend.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/unit/deploykit/RCScriptFixture.h"

using testing::IsEmpty;

namespace fs = std::filesystem;
namespace Backend = deploykit::ItemInstallers::RCScriptBackend;

TEST_F(RCScriptBackendTest, UnregistersWithTheFirstToolThatIsFound) {
    for (const char* tool : {"update-rc.d", "insserv", "chkconfig"}) {
        SCOPED_TRACE(tool);
        ASSERT_TRUE(Install());
        m_host.AddTool(tool);
        EXPECT_TRUE(Backend::Uninstall(L"agent"));
        fs::remove(m_host.ToolPath(tool));
    }
    EXPECT_EQ(m_host.Calls(), "update-rc.d -f agent remove\ninsserv -r agent\nchkconfig --del agent\n");
}

TEST_F(RCScriptBackendTest, UninstallStartsNoTool_WhenThereIsNoService) {
    for (const char* tool : {"chkconfig", "insserv", "update-rc.d", "systemctl"}) m_host.AddTool(tool);
    fs::create_directories("/run/systemd/system");
    EXPECT_TRUE(Backend::Uninstall(L"agent"));
    EXPECT_EQ(m_host.Calls(), "");
}

TEST_F(RCScriptBackendTest, UninstallAsksTheToolBeforeTheScriptAndItsLinksGo) {
    ASSERT_TRUE(Install());
    m_host.AddTool("chkconfig", "[ -e /etc/rc2.d/S99agent ] && echo 'with all in place' >>$0.saw");
    EXPECT_TRUE(Backend::Uninstall(L"agent"));
    EXPECT_EQ(testfiles::Read(m_host.ToolPath("chkconfig") + ".saw"), "with all in place\n");
}

TEST_F(RCScriptBackendTest, UninstallRemovesWhatAToolLeavesBehind) {
    ASSERT_TRUE(Install());
    m_host.AddTool("insserv", "exit 1");
    EXPECT_TRUE(Backend::Uninstall(L"agent"));
    EXPECT_THAT(ServiceHost::Links(), IsEmpty());
    EXPECT_FALSE(testfiles::Exists(kScript));
}

TEST_F(RCScriptBackendTest, UninstallRemovesLinksThatOutlivedTheScript) {
    ASSERT_TRUE(Install());
    fs::remove(kScript);
    m_host.AddTool("insserv");
    EXPECT_TRUE(Backend::Uninstall(L"agent"));
    EXPECT_THAT(ServiceHost::Links(), IsEmpty());
    EXPECT_EQ(m_host.Calls(), "");
}

TEST_F(RCScriptBackendTest, UninstallRemovesTheUnitAfterSystemctlIsGone) {
    m_host.AddTool("systemctl");
    ASSERT_TRUE(Install());
    fs::remove(m_host.ToolPath("systemctl"));
    fs::create_directories("/run/systemd/system");
    EXPECT_TRUE(Backend::Uninstall(L"agent"));
    EXPECT_TRUE(fs::is_empty("/etc/systemd/system"));
}

TEST_F(RCScriptBackendTest, UninstallReloadsSystemd_WhereItCannotTellWhatWasThere) {
    m_host.AddTool("systemctl");
    fs::create_directories("/run/systemd/system");
    fs::create_directories("/etc/systemd/system/multi-user.target.wants");
    const int status = testsupport::WithFailing({{SYS_getdents64, EIO}},
                                                [] { return Backend::Uninstall(L"agent") ? 0 : 1; });
    EXPECT_EQ(status, 1);
    EXPECT_EQ(m_host.Calls(), "systemctl daemon-reload\n");
}

TEST_F(RCScriptBackendTest, UninstallReloadsSystemd_WhenTheLastOfTheServiceIsGone) {
    m_host.AddTool("systemctl", "[ -e /etc/init.d/agent ] && echo 'the script is there' >>$0.saw");
    fs::create_directories("/run/systemd/system");
    const std::string tellings = "systemctl daemon-reload\n";
    struct Case {
        const char* remains;
        void (*remove)();
    };
    const Case cases[] = {
        {"all", [] {}},
        {"script",
         [] {
             fs::remove(kUnit);
             fs::remove_all("/etc/rc3.d");
         }},
        {"links",
         [] {
             fs::remove(kScript);
             fs::remove(kUnit);
         }},
        {"unit",
         [] {
             fs::remove(kScript);
             fs::remove_all("/etc/rc3.d");
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.remains);
        fs::create_directories("/etc/rc3.d");
        ASSERT_TRUE(Install(L"3", L""));
        c.remove();
        testfiles::Write(m_host.ToolPath("calls"), "");
        fs::remove(m_host.ToolPath("systemctl") + ".saw");
        EXPECT_TRUE(Backend::Uninstall(L"agent"));
        EXPECT_EQ(m_host.Calls(), tellings);
        EXPECT_FALSE(testfiles::Exists(m_host.ToolPath("systemctl") + ".saw"));
    }
}

TEST_F(RCScriptBackendTest, UninstallFails_WhenSomethingStays) {
    const int points = testsupport::FailInTurn(
        {SYS_unlink, SYS_unlinkat}, EIO, [&] { ASSERT_TRUE(Install()); },
        [] { return Backend::Uninstall(L"agent") ? 0 : 1; }, [](int failed) { EXPECT_EQ(failed, 1); });
    EXPECT_GE(points, 5);
    EXPECT_THAT(ServiceHost::Links(), IsEmpty());
}

TEST_F(RCScriptBackendTest, IsUninstalledOrSaysWhatStays_WhateverFails) {
    static constexpr int kDoesNotSay = 2;
    const auto uninstall = [] {
        const corekit::Result removed = Backend::Uninstall(L"agent");
        return removed ? 0 : removed.Path().IsEmpty() ? kDoesNotSay : 1;
    };
    const int points = testsupport::FailInTurn(
        testsupport::kFileCalls, EIO, [&] { ASSERT_TRUE(Install()); }, uninstall,
        [](int failed) { EXPECT_NE(failed, kDoesNotSay); });
    EXPECT_GE(points, 20);
}

TEST_F(RCScriptBackendTest, IsInstalledOrFails_WhateverFails) {
    const int points = testsupport::FailInTurn(
        testsupport::kFileCallsButUnlink, EIO, [] { ASSERT_TRUE(Backend::Uninstall(L"agent")); },
        [&] { return Install() ? 0 : 1; },
        [](int failed) {
            const std::vector<std::string> links = ServiceHost::Links();
            const auto starts = [](const std::string& link) { return link.find("/S99agent") != link.npos; };
            if (failed != 0) return;
            EXPECT_TRUE(std::ranges::any_of(links, starts));
            EXPECT_EQ(testfiles::Mode(kScript), 0755U);
        });
    EXPECT_GE(points, 20);
}
