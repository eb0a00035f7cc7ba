// Where the agent's programs are looked for, and which files are some.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "config/AgentPrograms.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::Result;
using corekit::String;
using testfiles::TempDir;
using testfiles::Write;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(ProgramDirectory, IsBinOfTheInstallDirectory) {
    for (const wchar_t* installDir : {L"/opt/agent", L"/opt/agent/", L"/opt/agent \t"})
        EXPECT_EQ(ProgramDirectory(installDir), L"/opt/agent/bin");
}

TEST(Programs, AreTheFilesOfTheAgentsNamesWithoutTheirSuffix) {
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
        EXPECT_EQ(IsAgentLink(path, installDir), row.isOurs) << row.target;
    }
    EXPECT_FALSE(IsAgentLink(path, L"")) << "the whole host is no install directory";
    EXPECT_FALSE(IsAgentLink(path, L"/")) << "the whole host is no install directory";
}

TEST(AgentLink, IsALink) {
    const TempDir dir;
    Write(dir / "bin/qdn-monitor", "");
    EXPECT_FALSE(IsAgentLink(String::FromUtf8(dir / "bin/qdn-monitor"), String::FromUtf8(dir.Path())));
    EXPECT_FALSE(IsAgentLink(String::FromUtf8(dir / "bin/none"), String::FromUtf8(dir.Path())));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
