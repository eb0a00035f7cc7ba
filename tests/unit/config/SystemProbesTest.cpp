// Small questions to the host: the command lines that ask them, how the answers are read, and which files
// count as programs of the agent.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "config/SystemProbes.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {

namespace {

using corekit::String;

TEST(RunShellCommand, GivesTheFirstLineOfStandardOutput) {
    const struct {
        const wchar_t* command;
        const wchar_t* line;
    } table[] = {
        {L"echo one; echo two", L"one"},
        {L"echo; echo two", L""},
        {L"printf 'no end'", L"no end"},
        {L"echo 'a=b c'", L"a=b c"},
        {L"true", L""},
        {L"echo said; exit 3", L"said"},
        {L"no-such-command-here 2>/dev/null", L""},
        {L"echo hidden >/dev/null", L""},
        {L"if true | false; then echo yes; else echo no; fi", L"no"},
        {L"echo $LC_ALL", L"POSIX"},
        {L"read line || echo nothing to read", L"nothing to read"},
    };
    for (const auto& row : table) EXPECT_EQ(RunShellCommand(row.command), row.line) << row.command;
}

TEST(DetectDistribution, KnowsTheFamiliesByTheirReleaseFiles) {
    EXPECT_EQ(DetectDistribution(), L"linux");
    testfiles::Write("/etc/UnitedLinux-release", "");
    EXPECT_EQ(DetectDistribution(), L"united");
    testfiles::Write("/etc/SuSE-release", "");
    EXPECT_EQ(DetectDistribution(), L"suse");
    std::filesystem::remove("/etc/UnitedLinux-release");
    EXPECT_EQ(DetectDistribution(), L"suse");
    std::filesystem::remove("/etc/SuSE-release");
}

TEST(IsPluginProcessRunning, LooksForTheProcessByName) {
    testsupport::StandIns host;
    host.Add("ps", "echo '  1 ?  00:00:00 init'; echo '  7 ?  00:00:00 qdn-pluginmanag'");
    EXPECT_TRUE(IsPluginProcessRunning());
    EXPECT_EQ(host.Calls(), "ps -e\n");
    host.Add("ps", "echo '  1 ?  00:00:00 init'; echo '  7 ?  00:00:00 QDN-PLUGIN'");
    EXPECT_FALSE(IsPluginProcessRunning());
    host.Add("ps", "");
    EXPECT_FALSE(IsPluginProcessRunning());
}

class RegisteredSolutions : public testing::Test {
  protected:
    /// Whether an agent with this list of solutions has any.
    bool Registered(const std::string& list) {
        testfiles::Write(m_dir / "etc/config.xml", list);
        return HasRegisteredSolutions(String::FromUtf8(m_dir.Path()));
    }
    testfiles::TempDir m_dir;
};

TEST_F(RegisteredSolutions, AreTheLinesThatNameASolution) {
    EXPECT_FALSE(HasRegisteredSolutions(String::FromUtf8(m_dir.Path())));
    EXPECT_FALSE(Registered(""));
    EXPECT_FALSE(Registered("<Solutions>\n<Solution/>\n<solution name='x'/>\n</Solutions>\n"));
    EXPECT_TRUE(Registered("<Solutions>\n<Solution name='x'/>\n</Solutions>\n"));
    EXPECT_TRUE(Registered("<Solution a/><Solution b/>\n<Solution c/>"));
}

TEST_F(RegisteredSolutions, AreNone_WhenADirectoryStandsInPlaceOfTheList) {
    std::filesystem::create_directories(m_dir / "etc/config.xml");
    EXPECT_FALSE(HasRegisteredSolutions(String::FromUtf8(m_dir.Path())));
}

TEST_F(RegisteredSolutions, AreAssumed_WhenTheProbeGivesNoAnswer) {
    testsupport::StandIns host;
    host.Add("grep", "");
    EXPECT_TRUE(Registered(""));
    EXPECT_EQ(host.Calls(), "grep -c <Solution  " + (m_dir / "etc/config.xml") + "\n");
    host.Add("grep", "echo 00");
    EXPECT_TRUE(Registered(""));
}

TEST_F(RegisteredSolutions, AreNeverLookedForByAPathReadAsCommands) {
    for (const std::string name : {"it's", "'; touch planted; '", "$(touch planted)", "a b", "%1"}) {
        testfiles::Write(m_dir / (name + "/etc/config.xml"), "<Solution x>\n");
        EXPECT_TRUE(HasRegisteredSolutions(String::FromUtf8(m_dir / name))) << name;
        testfiles::Write(m_dir / (name + "/etc/config.xml"), "");
        EXPECT_FALSE(HasRegisteredSolutions(String::FromUtf8(m_dir / name))) << name;
    }
    EXPECT_FALSE(testfiles::Exists("planted"));
}

TEST(SplitRunLevels, FindsTheDigitsAnywhereAndListsThemInRisingOrder) {
    const struct {
        const wchar_t* levels;
        const wchar_t* startDigits;
        const wchar_t* startList;
        const wchar_t* stopList;
    } table[] = {
        {L"235", L"235", L"2 3 5", L"0 1 4 6"},
        {L"rc2;rc3;rc5", L"235", L"2 3 5", L"0 1 4 6"},
        {L"5, 3, 2", L"235", L"2 3 5", L"0 1 4 6"},
        {L"22", L"2", L"2", L"0 1 3 4 5 6"},
        {L"0123456", L"0123456", L"0 1 2 3 4 5 6", L""},
        {L"rc10", L"01", L"0 1", L"2 3 4 5 6"},
        {L"7", L"", L"", L"0 1 2 3 4 5 6"},
        {L"38", L"3", L"3", L"0 1 2 4 5 6"},
        {L"9", L"", L"", L""},
        {L"abc", L"", L"", L""},
        {L"", L"", L"", L""},
    };
    for (const auto& row : table) {
        const RunLevels split = SplitRunLevels(row.levels);
        EXPECT_EQ(split.startDigits, row.startDigits) << String(row.levels).Utf8();
        EXPECT_EQ(split.startList, row.startList) << String(row.levels).Utf8();
        EXPECT_EQ(split.stopList, row.stopList) << String(row.levels).Utf8();
    }
}

TEST(ParseVersion, ReadsUpToThreeNumbers) {
    const struct {
        const wchar_t* text;
        corekit::Version version;
    } table[] = {
        {L"4.18.0", {4, 18, 0}}, {L"4.4.2.3", {4, 4, 2}},   {L"4", {4, 0, 0}},
        {L"4.1", {4, 1, 0}},     {L"", {0, 0, 0}},          {L"x.y.z", {0, 0, 0}},
        {L"4..7", {4, 0, 7}},    {L"4.2-rc1.5", {4, 2, 5}}, {L"RPM version 4.18", {0, 18, 0}},
    };
    for (const auto& row : table) EXPECT_EQ(ParseVersion(row.text), row.version) << String(row.text).Utf8();
}

TEST(GetPackageManagerVersion, ReplacesTheVersionInWhatRpmPrintsByAControlCharacter) {
    testsupport::StandIns host;
    host.Add("rpm", "echo 'RPM version 4.18.0'");
    EXPECT_EQ(GetPackageManagerVersion(), corekit::Version(0, 0, 0));
    EXPECT_EQ(host.Calls(), "rpm --version\n");
    host.Add("rpm", "echo '4.18.0.7.3'");
    EXPECT_EQ(GetPackageManagerVersion(), corekit::Version(0, 0, 0));
    host.Add("rpm", "");
    EXPECT_EQ(GetPackageManagerVersion(), corekit::Version(0, 0, 0));
}

}  // namespace

namespace {

using corekit::Result;
using testfiles::TempDir;
using testfiles::Write;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(DirOfRunningProgram, IsAboveTheDirectoryOfTheProgram) {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(DirOfRunningProgram(), String::FromUtf8(program.parent_path().parent_path().string()));
}

TEST(DirOfRunningProgram, IsNone_WhereItCannotBeTold) {
    const TempDir dir;
    testsupport::WithRoot(dir.Path(), [] { EXPECT_EQ(DirOfRunningProgram(), L""); });
}

TEST(ProgramDirectory, IsBinOfTheInstallDirectory) {
    for (const wchar_t* installDir : {L"/opt/agent", L"/opt/agent/", L"/opt/agent \t"})
        EXPECT_EQ(ProgramDirectory(installDir), L"/opt/agent/bin");
}

TEST(Programs, AreTheNamesOfTheAgentsFilesWithoutTheirSuffix) {
    const TempDir dir;
    for (const char* name : {"qdn-monitor.bin", "qdn-x.y.bin", "qdn-env", "other.bin", "qdn-old.bin.old"})
        Write(dir / name, "");
    std::filesystem::create_directory(dir / "qdn-directory.bin");
    std::filesystem::create_symlink("qdn-monitor.bin", dir / "qdn-link.bin");
    std::vector<String> programs;
    EXPECT_TRUE(FindPrograms(String::FromUtf8(dir.Path()), programs));
    EXPECT_THAT(programs, UnorderedElementsAre(L"qdn-monitor", L"qdn-x.y", L"qdn-link"));
}

TEST(Programs, AreNoneWithoutTheirDirectory) {
    std::vector<String> programs;
    EXPECT_EQ(FindPrograms(L"/nowhere", programs), Result(ENOENT));
    EXPECT_THAT(programs, IsEmpty());
}

TEST(AgentLink, LeadsBelowAnInstallDirectoryOfTheAgents) {
    const TempDir dir;
    const String path = String::FromUtf8(dir / "links/qdn-monitor");
    const String installDir = String::FromUtf8(dir / "agent");
    Write(dir / "agent/bin/qdn-monitor", "");
    Write(dir / "second/etc/client.proto", "");
    Write(dir / "stranger/bin/qdn-monitor", "");
    Write(dir / "agents/bin/qdn-monitor", "");
    std::filesystem::create_directory(dir / "links");
    std::filesystem::create_directory_symlink(dir / "agent", dir / "alias");
    const struct {
        std::string target;
        bool isOurs;
    } table[] = {
        {dir / "agent/bin/qdn-monitor", true},
        {dir / "agent/bin/gone", true},
        {"../agent/bin/qdn-monitor", true},
        {dir / "alias/bin/qdn-monitor", true},
        {dir / "second/bin/qdn-monitor", true},
        {"/opt/zorvane/kell/ksagent/bin/qdn-monitor", true},
        {dir / "second/other/qdn-monitor", false},
        {dir / "stranger/bin/qdn-monitor", false},
        {dir / "agents/bin/qdn-monitor", false},
        {dir / "gone/bin/qdn-monitor", true},
        {dir / "gone/bin/monitor", false},
        {dir / "gone/qdn-monitor", false},
        {dir / "agent/../stranger/bin/qdn-monitor", false},
        {"/usr/bin/true", false},
        {"true", false},
    };
    for (const auto& row : table) {
        std::filesystem::remove(dir / "links/qdn-monitor");
        std::filesystem::create_symlink(row.target, dir / "links/qdn-monitor");
        EXPECT_EQ(IsAgentLink(path, installDir).value(), row.isOurs) << row.target;
    }
    EXPECT_FALSE(IsAgentLink(path, L"").value()) << "the whole host is no install directory";
    EXPECT_FALSE(IsAgentLink(path, L"/").value()) << "the whole host is no install directory";
}

TEST(AgentLink, IsALink) {
    const TempDir dir;
    Write(dir / "bin/qdn-monitor", "");
    EXPECT_FALSE(
        IsAgentLink(String::FromUtf8(dir / "bin/qdn-monitor"), String::FromUtf8(dir.Path())).value());
    EXPECT_FALSE(IsAgentLink(String::FromUtf8(dir / "bin/none"), String::FromUtf8(dir.Path())).value());
}

}  // namespace

}  // namespace Zorvane::AgentInstaller
