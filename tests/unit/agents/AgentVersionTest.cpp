// Which version a client.conf states, and which builds are whose.
#include <climits>
#include <filesystem>
#include <gtest/gtest.h>

#include "agents/Agent56.h"
#include "agents/Agent60.h"
#include "agents/AgentVersion.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/agents/AgentVersions.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using corekit::Version;
using testfiles::TempDir;
using testfiles::Write;

TEST(AgentForVersion, IsTheMemberThatTheReleaseBelongsTo) {
    const struct {
        Version version;
        bool (*isMember)(const std::unique_ptr<Agent>&);
        const wchar_t* label;
    } rows[] = {
        {{5, 5, 0}, Is<UnsupportedAgent>, L"5.5"}, {{5, 5, INT_MAX}, Is<UnsupportedAgent>, L"5.5"},
        {{5, 6, 0}, Is<Agent56>, L"5.6"},          {{5, 6, INT_MAX}, Is<Agent56>, L"5.6"},
        {{6, 0, INT_MIN}, Is<Agent60>, L"6.0"},    {{6, 0, 0}, Is<Agent60>, L"6.0"},
        {{6, 0, 199}, Is<Agent60>, L"6.0"},        {{6, 0, 200}, Is<Agent60>, L"6.0SP1"},
        {{6, 0, 250}, Is<Agent60>, L"6.0SP1"},     {{6, 0, 299}, Is<Agent60>, L"6.0SP1"},
        {{6, 0, 300}, Is<Agent60SP2>, L"6.0SP2"},  {{6, 0, 399}, Is<Agent60SP2>, L"6.0SP2"},
        {{6, 1, 0}, Is<Agent60SP2>, L"6.1"},       {{6, 1, 599}, Is<Agent60SP2>, L"6.1"},
        {{6, 1, 600}, Is<Agent60SP2>, L"6.1SP1"},  {{6, 1, 8499}, Is<Agent60SP2>, L"6.1SP1"},
        {{6, 1, 8500}, Is<Agent60SP2>, L"6.1SP2"}, {{6, 1, 8999}, Is<Agent60SP2>, L"6.1SP2"},
        {{6, 2, 0}, Is<Agent62>, L"6.2"},          {{6, 2, 1378}, Is<Agent62>, L"6.2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const auto agent = CreateAgentForVersion(row.version, L"/opt/agent");
        ASSERT_TRUE(row.isMember(agent)) << "build " << row.version.Build();
        EXPECT_EQ(agent->VersionLabel(), row.label);
        EXPECT_EQ(agent->InstallDir(), L"/opt/agent");
        EXPECT_EQ(agent->ConfPath(), L"");
    }
}

TEST(AgentForVersion, IsNull_WhenTheReleaseIsUnknown) {
    const Version versions[] = {{6, 0, 400}, {6, 0, INT_MAX}, {6, 1, 9000}, {6, 2, 1379},
                                {6, 3, 0},   {5, 4, 0},       {5, 7, 0},    {7, 0, 0},
                                {0, 0, 0},   {-6, 0, 0},      {4, 6, 0}};
    for (const Version& version : versions)
        EXPECT_EQ(CreateAgentForVersion(version, L"/opt/agent"), nullptr)
            << version.Major() << version.Minor();
}

TEST(AgentVersion, IsWhatTheFileStates) {
    const TempDir dir;
    const struct {
        std::string text;
        Version version;
    } rows[] = {
        {ConfOf("6", "0", "250"), {6, 0, 250}},
        {ConfOf(" 6 ", "1", "8500x"), {6, 1, 8500}},
        {ConfOf("six", "0", "250"), {0, 0, 250}},
        {"[Version]\nAgent_Major=6\nAGENT_MINOR=2\nagent_build=7\n", {6, 2, 7}},
        {ConfOf("6", "0", ""), {5, 6, 0}},
        {ConfOf("6", "", "250"), {5, 6, 0}},
        {ConfOf("", "0", "1"), {5, 6, 0}},
        {"[Version]\nagent_major=6\nagent_minor=0\n", {5, 6, 0}},
        {"[version]\nagent_major=6\nagent_minor=0\nagent_build=1\n", {5, 6, 0}},
        {"", {5, 6, 0}},
    };
    for (const auto& row : rows) {
        Write(dir / "client.conf", row.text);
        const IniFile conf(String::FromUtf8(dir / "client.conf"), IniFile::KeyCase::FallBack);
        EXPECT_EQ(ReadAgentVersion(conf), row.version) << row.text;
    }
}

TEST(AgentVersion, IsThatOfTheInventorySolution_OnlyForItsFile) {
    Write("/etc/qdn-invsoln/master.cfg", "[Configuration]\n");
    EXPECT_EQ(ReadAgentVersion(IniFile(L"/etc/qdn-invsoln/master.cfg")), Version(5, 5, 0));
    EXPECT_EQ(ReadAgentVersion(IniFile(L"/etc/qdn-invsoln//master.cfg")), Version(5, 6, 0));
    Write("/etc/qdn-invsoln/master.cfg", ConfOf("6", "0", "1"));
    EXPECT_EQ(ReadAgentVersion(IniFile(L"/etc/qdn-invsoln/master.cfg")), Version(6, 0, 1));
    std::filesystem::remove_all("/etc/qdn-invsoln");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
