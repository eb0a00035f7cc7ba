// Native units on disk, looked at as systemd's own tools see them.
#include <filesystem>
#include <gmock/gmock.h>

#include "deploykit/SystemdUnit.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/PrintString.h"
#include "tests/support/Printed.h"
#include "tests/unit/deploykit/ServiceHost.h"

using corekit::String;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Printed;

namespace fs = std::filesystem;
namespace SystemdUnit = deploykit::SystemdUnit;

namespace {

constexpr const char* kUnit = "/etc/systemd/system/agent.service";
constexpr const wchar_t* kScript =
    L"#!/bin/sh\n# pidfile: /opt/agent.pid\n# Required-Start: $remote_fs $network\n";

/// Every file and link below /etc/systemd/system, sorted; a link with where it leads.
std::vector<std::string> UnitFiles() {
    const std::string root = "/etc/systemd/system";
    std::vector<std::string> files;
    if (!fs::exists(root)) return files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        files.push_back(entry.path().string().substr(root.size() + 1));
        if (entry.is_symlink()) files.back() += " -> " + fs::read_symlink(entry.path()).string();
    }
    std::ranges::sort(files);
    return files;
}

class SystemdUnitTest : public testing::Test {
  protected:
    void LetSystemdRun() { fs::create_directories("/run/systemd/system"); }

    ServiceHost m_host;
};

}  // namespace

TEST_F(SystemdUnitTest, IsSupported_WhereSystemctlIs) {
    EXPECT_FALSE(SystemdUnit::IsSupported());
    m_host.AddTool("systemctl");
    EXPECT_TRUE(SystemdUnit::IsSupported());
    EXPECT_EQ(m_host.Calls(), "");
}

TEST_F(SystemdUnitTest, EnablesTheUnitInTheTargetsOfItsStartLevels) {
    const std::string leadsToUnit = "/agent.service -> /etc/systemd/system/agent.service";
    const std::string rescue = "rescue.target.wants", multi = "multi-user.target.wants";
    const std::string graphical = "graphical.target.wants";
    struct Case {
        const wchar_t* levels;
        std::vector<std::string> wants;
    };
    const Case cases[] = {
        {L"", {}},
        {L"06", {}},
        {L"1", {rescue}},
        {L"2", {multi}},
        {L"3", {multi}},
        {L"4", {multi}},
        {L"5", {graphical}},
        {L"235", {graphical, multi}},
        {L"1234", {multi, rescue}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.levels);
        ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, c.levels));
        std::vector<std::string> expected = {"agent.service"};
        for (const std::string& wants : c.wants) {
            expected.push_back(wants);
            expected.push_back(wants + leadsToUnit);
        }
        EXPECT_THAT(UnitFiles(), testing::UnorderedElementsAreArray(expected));
        EXPECT_EQ(testfiles::Mode(kUnit), 0644U);
    }
}

TEST_F(SystemdUnitTest, MakesUnitsThatSystemdReadsWithoutComplaint) {
    testfiles::Write("/etc/init.d/agent", "#!/bin/sh\n", 0755);
    ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L"235"));
    EXPECT_EQ(Printed("systemd-analyze verify /etc/systemd/system/agent.service"), "");
}

TEST_F(SystemdUnitTest, MakesUnitsThatSystemctlCallsEnabled) {
    ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L"35"));
    EXPECT_EQ(Printed("systemctl is-enabled agent.service"), "enabled\n");
    ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L""));
    EXPECT_EQ(Printed("systemctl is-enabled agent.service"), "disabled\n");
}

TEST_F(SystemdUnitTest, MakesTheLinksThatSystemctlWouldMake) {
    ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L"235"));
    const std::vector<std::string> ours = UnitFiles();
    Printed("systemctl disable agent.service");
    EXPECT_THAT(UnitFiles(), ElementsAre("agent.service"));
    Printed("systemctl enable agent.service");
    EXPECT_EQ(UnitFiles(), ours);
}

TEST_F(SystemdUnitTest, ReloadsARunningSystemd) {
    m_host.AddTool("systemctl");
    LetSystemdRun();
    EXPECT_TRUE(SystemdUnit::Install(L"agent", kScript, L"3"));
    EXPECT_EQ(m_host.Calls(), "systemctl daemon-reload\n");
    EXPECT_TRUE(SystemdUnit::Remove(L"agent"));
    EXPECT_EQ(m_host.Calls(), "systemctl daemon-reload\n") << "the script has to go first";
    SystemdUnit::Reload();
    EXPECT_EQ(m_host.Calls(), "systemctl daemon-reload\nsystemctl daemon-reload\n");
}

TEST_F(SystemdUnitTest, IsToldToHaveBeenThere_WhereItsFileOrALinkWas) {
    EXPECT_FALSE(SystemdUnit::Remove(L"agent").value());
    ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L""));
    EXPECT_TRUE(SystemdUnit::Remove(L"agent").value());
    ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L"5"));
    fs::remove(kUnit);
    EXPECT_TRUE(SystemdUnit::Remove(L"agent").value());
    EXPECT_FALSE(SystemdUnit::Remove(L"agent").value());
    fs::create_symlink("/dev/null", kUnit);
    EXPECT_FALSE(SystemdUnit::Remove(L"agent").value()) << "a mask is the administrator's";
}

TEST_F(SystemdUnitTest, ReloadsNothing_WhereSystemdDoesNotRun) {
    m_host.AddTool("systemctl");
    EXPECT_TRUE(SystemdUnit::Install(L"agent", kScript, L"3"));
    EXPECT_TRUE(SystemdUnit::Remove(L"agent"));
    SystemdUnit::Reload();
    EXPECT_EQ(m_host.Calls(), "");
}

TEST_F(SystemdUnitTest, RemovesTheUnitAndEveryLinkThatEnablesIt) {
    ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L"235"));
    const std::string root = "/etc/systemd/system/";
    fs::create_directories(root + "custom.service.requires");
    fs::create_symlink("../agent.service", root + "custom.service.requires/agent.service");
    fs::create_symlink("/lib/other.service", root + "multi-user.target.wants/other.service");
    testfiles::Write(root + "agent.service.d/override.conf", "[Service]\n");

    EXPECT_TRUE(SystemdUnit::Remove(L"agent"));
    EXPECT_THAT(UnitFiles(),
                ElementsAre("agent.service.d", "agent.service.d/override.conf", "multi-user.target.wants",
                            "multi-user.target.wants/other.service -> /lib/other.service"));
}

TEST_F(SystemdUnitTest, RemovesLinksThatOutlivedTheUnit) {
    ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L"5"));
    fs::remove(kUnit);
    EXPECT_TRUE(SystemdUnit::Remove(L"agent"));
    EXPECT_THAT(UnitFiles(), IsEmpty());
}

TEST_F(SystemdUnitTest, RemovingWhatIsNotThereStartsNoProcess) {
    m_host.AddTool("systemctl");
    LetSystemdRun();
    EXPECT_TRUE(SystemdUnit::Remove(L"agent"));
    EXPECT_EQ(m_host.Calls(), "");
}

TEST_F(SystemdUnitTest, LeavesAMaskToTheAdministrator) {
    fs::create_directories("/etc/systemd/system");
    fs::create_symlink("/dev/null", kUnit);
    EXPECT_TRUE(SystemdUnit::Install(L"agent", kScript, L"3"));
    EXPECT_THAT(UnitFiles(), ElementsAre("agent.service -> /dev/null"));
    EXPECT_TRUE(SystemdUnit::Remove(L"agent"));
    EXPECT_THAT(UnitFiles(), ElementsAre("agent.service -> /dev/null"));
}

TEST_F(SystemdUnitTest, ReplacesAUnitThatIsALink) {
    testfiles::Write("/etc/systemd/system/other.service", "kept");
    fs::create_symlink("other.service", kUnit);
    EXPECT_TRUE(SystemdUnit::Install(L"agent", kScript, L""));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(kUnit)));
    EXPECT_EQ(testfiles::Read("/etc/systemd/system/other.service"), "kept");
}

TEST_F(SystemdUnitTest, RemovesAUnitThatIsALinkAndNotItsTarget) {
    testfiles::Write("/opt/agent.service", "[Service]\n");
    fs::create_directories("/etc/systemd/system");
    fs::create_symlink("/opt/agent.service", kUnit);
    EXPECT_TRUE(SystemdUnit::Remove(L"agent"));
    EXPECT_THAT(UnitFiles(), IsEmpty());
    EXPECT_TRUE(fs::exists("/opt/agent.service"));
    fs::remove("/opt/agent.service");
}

TEST_F(SystemdUnitTest, Fails_WhereTheUnitOrItsLinkCannotBeMade) {
    fs::create_directories(std::string(kUnit) + "/in the way");
    EXPECT_FALSE(SystemdUnit::Install(L"agent", kScript, L"3"));
    EXPECT_FALSE(SystemdUnit::Remove(L"agent"));

    fs::remove_all(kUnit);
    testfiles::Write("/etc/systemd/system/multi-user.target.wants", "in the way");
    EXPECT_FALSE(SystemdUnit::Install(L"agent", kScript, L"3"));
}

TEST_F(SystemdUnitTest, IsInstalledWholeOrFails) {
    ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L"35"));
    const std::vector<std::string> whole = UnitFiles();
    const int points = testsupport::FailInTurn(
        testsupport::kFileCallsButUnlink, EIO, [] { fs::remove_all("/etc/systemd/system"); },
        [] { return SystemdUnit::Install(L"agent", kScript, L"35") ? 0 : 1; },
        [&](int failed) { EXPECT_TRUE(failed != 0 || UnitFiles() == whole); });
    EXPECT_GE(points, 15);
    EXPECT_EQ(UnitFiles(), whole);
}

TEST_F(SystemdUnitTest, IsGoneOrFails_WhateverFails) {
    const int points = testsupport::FailInTurn(
        testsupport::kFileCalls, EIO, [] { ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L"35")); },
        [] { return SystemdUnit::Remove(L"agent") ? 0 : 1; },
        [](int failed) { EXPECT_TRUE(failed != 0 || !fs::exists(kUnit)); });
    EXPECT_GE(points, 25);
    EXPECT_THAT(UnitFiles(), IsEmpty());
}

// Two links and the unit; that a directory of links stays, empty, is no failure.
TEST_F(SystemdUnitTest, Fails_WhenItCannotBeRemoved) {
    int failures = 0;
    const int points = testsupport::FailInTurn(
        {SYS_unlink, SYS_unlinkat}, EIO, [] { ASSERT_TRUE(SystemdUnit::Install(L"agent", kScript, L"35")); },
        [] { return SystemdUnit::Remove(L"agent") ? 0 : 1; }, [&](int failed) { failures += failed; });
    EXPECT_EQ(failures, 3);
    EXPECT_EQ(points, 5);
    EXPECT_THAT(UnitFiles(), IsEmpty());
}
