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

}  // namespace
}  // namespace Zorvane::AgentInstaller
