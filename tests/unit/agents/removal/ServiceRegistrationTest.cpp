// Which tool takes the service of an older agent out of the host, and which links and scripts go.
#include <gtest/gtest.h>

#include "agents/removal/ServiceRegistration.h"
#include "corekit/fs/Dir.h"
#include "tests/support/Captured.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::Exists;
using testfiles::TempDir;
using testfiles::Write;
using testsupport::Captured;
using testsupport::StandIns;

constexpr const char* kScript = "/etc/init.d/zorvane";

class ServiceRegistration : public testing::Test {
  protected:
    ServiceRegistration() {
        const std::string prints = "echo heard; echo heard >&2; exit 1";
        for (const char* tool : {"chkconfig", "insserv", "rmitab"}) m_tools.Add(tool, prints);
        m_tools.Add("insserv -r", "echo by its whole name >>'" + m_tools.PathOf("calls") + "'; " + prints);
        Write(kScript, "#!/bin/sh\n", 0755);
    }
    ~ServiceRegistration() override { std::filesystem::remove(kScript); }

    /// The calls of the host's tools; what they print must not reach the operator.
    template <typename Action>
    std::string Calls(Action&& action) {
        const auto output = Captured(action);
        EXPECT_EQ(output.out, "");
        EXPECT_EQ(output.err, "");
        return m_tools.Calls();
    }

    StandIns m_tools{testsupport::HostPrograms::TextTools};
};

struct Expected {
    const wchar_t* platform;
    const char* calls;
};

TEST_F(ServiceRegistration, IsRemovedByChkconfigOrByInsservOnSuse_ForVersion56) {
    const Expected rows[] = {
        {L"linux", "chkconfig --del zorvane\n"},
        {L"suse", "chkconfig --del zorvane\ninsserv -r /etc/init.d/zorvane\n"},
        {L"united", "chkconfig --del zorvane\ninsserv -r /etc/init.d/zorvane\n"},
        {L"hpux", "chkconfig --del zorvane\n"},
        {L"solaris", "chkconfig --del zorvane\n"},
        {L"aix", "chkconfig --del zorvane\n"},
    };
    for (const Expected& row : rows) {
        Write(kScript, "#!/bin/sh\n", 0755);
        EXPECT_EQ(Calls([&] { RemoveServiceRegistration56(row.platform); }), row.calls) << row.platform;
        EXPECT_FALSE(Exists(kScript)) << row.platform;
    }
}

TEST_F(ServiceRegistration, LosesItsScriptOnAHostWithoutTools_ForVersion56) {
    for (const char* tool : {"chkconfig", "insserv", "insserv -r"}) m_tools.Remove(tool);
    EXPECT_EQ(Calls([] { RemoveServiceRegistration56(L"suse"); }), "");
    EXPECT_FALSE(Exists(kScript));
}

TEST_F(ServiceRegistration, IsRemovedBeforeItsScript_ForVersion56) {
    m_tools.Add("chkconfig",
                std::string("test -e ") + kScript + " && echo there >> " + m_tools.PathOf("calls"));
    EXPECT_EQ(Calls([] { RemoveServiceRegistration56(L"linux"); }), "chkconfig --del zorvane\nthere\n");
}

TEST_F(ServiceRegistration, IsRemovedByTheToolOfThePlatform_ForVersion60) {
    const Expected rows[] = {
        {L"linux", "chkconfig --del zorvane\n"},
        {L"suse", "insserv -r /etc/init.d/zorvane\nby its whole name\n"},
        {L"united", "insserv -r /etc/init.d/zorvane\nby its whole name\n"},
        {L"aix", "rmitab zorvane\n"},
        {L"other", ""},
        {L"", ""},
    };
    for (const Expected& row : rows) {
        EXPECT_EQ(Calls([&] { RemoveServiceRegistration60(row.platform); }), row.calls) << row.platform;
        EXPECT_TRUE(Exists(kScript)) << row.platform;
    }
}

TEST_F(ServiceRegistration, LooksForInsservUnderANameWithItsOption_ForVersion60) {
    m_tools.Remove("insserv -r");
    EXPECT_EQ(Calls([] { RemoveServiceRegistration60(L"suse"); }), "");
    EXPECT_EQ(Calls([] { RemoveServiceRegistration60(L"united"); }), "");
}

TEST_F(ServiceRegistration, SkipsToolsThatTheHostLacks_ForVersion60) {
    for (const char* tool : {"chkconfig", "rmitab"}) m_tools.Remove(tool);
    EXPECT_EQ(Calls([] { RemoveServiceRegistration60(L"linux"); }), "");
    EXPECT_EQ(Calls([] { RemoveServiceRegistration60(L"aix"); }), "");
    EXPECT_TRUE(Exists(kScript));
}

TEST_F(ServiceRegistration, CallsToolsInWhicheverDirectoryTheyAre) {
    const TempDir dir;
    const std::string place = dir / "it's; a $place";
    Write(place + "/chkconfig", "#!/bin/sh\necho found \"$@\" >> '" + m_tools.PathOf("calls") + "'\n", 0755);
    const testsupport::EnvironmentVariable path("PATH", place);
    EXPECT_EQ(Calls([] { RemoveServiceRegistration56(L"linux"); }), "found --del zorvane\n");
    EXPECT_EQ(Calls([] { RemoveServiceRegistration60(L"linux"); }), "found --del zorvane\n");
}

class LevelLinks : public ServiceRegistration {
  protected:
    LevelLinks() { EXPECT_TRUE(corekit::Dir::SetCurrent(String::FromUtf8(m_dir.Path()))); }
    ~LevelLinks() override { EXPECT_TRUE(corekit::Dir::SetCurrent(m_before)); }

    TempDir m_dir;
    String m_before = corekit::Dir::GetCurrent().value();
};

TEST_F(LevelLinks, AreRemovedInAllLevelsWithTheScript) {
    for (const wchar_t* platform : {L"hpux", L"solaris"}) {
        SCOPED_TRACE(platform);
        for (const char level : {'0', '3', '6', '7'}) {
            for (const char* name : {"S99zorvane", "K99zorvane", "S99other", "S01zorvane"})
                Write(m_dir / "etc/rc" + level + ".d/" + name, "");
        }
        Write(kScript, "#!/bin/sh\n", 0755);

        EXPECT_EQ(Calls([&] { RemoveServiceRegistration60(platform); }), "");

        for (const char level : {'0', '3', '6'}) {
            const std::string directory = m_dir / "etc/rc" + level + ".d/";
            EXPECT_FALSE(Exists(directory + "S99zorvane")) << directory;
            EXPECT_FALSE(Exists(directory + "K99zorvane")) << directory;
            EXPECT_TRUE(Exists(directory + "S99other")) << directory;
            EXPECT_TRUE(Exists(directory + "S01zorvane")) << directory;
        }
        EXPECT_TRUE(Exists(m_dir / "etc/rc7.d/S99zorvane"));
        EXPECT_FALSE(Exists(kScript));
    }
}

TEST_F(LevelLinks, OfTheRootDirectoryStay_WhenAnotherDirectoryIsCurrent) {
    Write("/etc/rc2.d/S99zorvane", "");
    RemoveServiceRegistration60(L"hpux");
    EXPECT_TRUE(Exists("/etc/rc2.d/S99zorvane"));
    ASSERT_TRUE(corekit::Dir::SetCurrent(L"/"));
    RemoveServiceRegistration60(L"hpux");
    EXPECT_FALSE(Exists("/etc/rc2.d/S99zorvane"));
}

TEST_F(LevelLinks, StayOnPlatformsThatHaveTools) {
    for (const wchar_t* platform : {L"linux", L"suse", L"united", L"aix"}) {
        Write(m_dir / "etc/rc2.d/S99zorvane", "");
        RemoveServiceRegistration60(platform);
        EXPECT_TRUE(Exists(m_dir / "etc/rc2.d/S99zorvane")) << platform;
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
