// Programs and files found in lists of directories, and the lines of a command's output.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/process/Program.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

using corekit::String;
using corekit::StringToMapFilter;

namespace Program = corekit::Program;

namespace {

class ProgramTest : public testing::Test {
  protected:
    ProgramTest() {
        testfiles::Write(m_dir / "one/tool", "", 0755);
        testfiles::Write(m_dir / "two/tool", "", 0755);
    }

    String In(const std::string& name) const { return String::FromUtf8(m_dir / name); }
    /// PATH is the directory "one" and then "two".
    void SetPath() const { setenv("PATH", (m_dir / "one:" + (m_dir / "two")).c_str(), 1); }

    testfiles::TempDir m_dir;
};

}  // namespace

TEST_F(ProgramTest, IsFoundInTheFirstDirectoryOfThePath) {
    SetPath();
    EXPECT_EQ(Program::Locate(L"tool"), In("one/tool"));
    EXPECT_EQ(Program::Locate(L"missing"), L"");
    EXPECT_EQ(Program::Locate(L""), L"");
}

TEST_F(ProgramTest, IsAnExecutableRegularFile) {
    SetPath();
    ASSERT_EQ(chmod((m_dir / "one/tool").c_str(), 0644), 0);
    EXPECT_EQ(Program::Locate(L"tool"), In("two/tool"));
    std::filesystem::remove(m_dir / "one/tool");
    std::filesystem::create_directory(m_dir / "one/tool");
    EXPECT_EQ(Program::Locate(L"tool"), In("two/tool"));
    std::filesystem::remove(m_dir / "one/tool");
    ASSERT_EQ(mkfifo((m_dir / "one/tool").c_str(), 0755), 0);
    EXPECT_EQ(Program::Locate(L"tool"), In("two/tool"));
}

TEST_F(ProgramTest, MayBeALinkToOne) {
    SetPath();
    std::filesystem::create_symlink(m_dir / "two/tool", m_dir / "one/link");
    std::filesystem::create_symlink(m_dir / "nowhere", m_dir / "one/dangling");
    EXPECT_EQ(Program::Locate(L"link"), In("one/link"));
    EXPECT_EQ(Program::Locate(L"dangling"), L"");
}

TEST_F(ProgramTest, MayHaveBlanksInItsName) {
    SetPath();
    testfiles::Write(m_dir / "two/a tool;x", "", 0755);
    EXPECT_EQ(Program::Locate(L"a tool;x"), In("two/a tool;x"));
    EXPECT_EQ(Program::Locate(L"tool -x"), L"");
}

TEST_F(ProgramTest, IsNeverFoundThroughTheCurrentDirectory) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_dir / "one");
    for (const std::string path : {"", ":", ".", "::", "../one", ".:"}) {
        setenv("PATH", path.c_str(), 1);
        EXPECT_EQ(Program::Locate(L"tool"), L"") << path;
    }
    setenv("PATH", (".::" + (m_dir / "two")).c_str(), 1);
    EXPECT_EQ(Program::Locate(L"tool"), In("two/tool"));
    std::filesystem::current_path(before);
}

TEST_F(ProgramTest, IsFoundInTheUsualDirectoriesWithoutAPath) {
    unsetenv("PATH");
    testfiles::Write("/usr/sbin/program-test", "", 0755);
    EXPECT_EQ(Program::Locate(L"program-test"), L"/usr/sbin/program-test");
    testfiles::Write("/usr/bin/other-program-test", "", 0755);
    EXPECT_EQ(Program::Locate(L"other-program-test"), L"/usr/bin/other-program-test");
}

TEST_F(ProgramTest, SearchGivesTheFirstDirectoryThatHoldsTheFile) {
    const String list = In("none") + L":" + In("one") + L":" + In("two");
    EXPECT_EQ(Program::Search(list, L"tool"), In("one/tool"));
    std::filesystem::remove(m_dir / "one/tool");
    EXPECT_EQ(Program::Search(list, L"tool"), In("two/tool"));
    EXPECT_EQ(Program::Search(list, L"missing"), L"");
    EXPECT_EQ(Program::Search(L"", L"tool"), L"");
}

TEST_F(ProgramTest, SearchTakesFilesOfAnyKind) {
    testfiles::Write(m_dir / "one/plain", "", 0000);
    std::filesystem::create_directory(m_dir / "one/directory");
    std::filesystem::create_symlink(m_dir / "nowhere", m_dir / "one/dangling");
    EXPECT_EQ(Program::Search(In("one"), L"plain"), In("one/plain"));
    EXPECT_EQ(Program::Search(In("one"), L"directory"), In("one/directory"));
    EXPECT_EQ(Program::Search(In("one"), L"dangling"), L"");
}

TEST_F(ProgramTest, SearchSkipsEmptyElementsAndTakesRelativeOnes) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_dir / "one");
    EXPECT_EQ(Program::Search(L"::", L"tool"), L"");
    EXPECT_EQ(Program::Search(L":.:", L"tool"), L"./tool");
    EXPECT_EQ(Program::Search(L"..:.", L"tool"), L"./tool");
    EXPECT_EQ(Program::Search(L"../two:.", L"tool"), L"../two/tool");
    std::filesystem::current_path(before);
}

TEST_F(ProgramTest, RunsWithTheArgumentsOfAShell) {
    const std::string tool = m_dir / "a tool; exit";
    testfiles::Write(tool, "#!/bin/sh\nprintf '<%s>' \"$@\" >" + (m_dir / "arguments") + "\n", 0755);
    Program::RunSilently(String::FromUtf8(tool), L"--add 'two words'");
    EXPECT_EQ(testfiles::Read(m_dir / "arguments"), "<--add><two words>");
}

TEST_F(ProgramTest, RunsSilently) {
    testfiles::Write(m_dir / "tool", "#!/bin/sh\necho out\necho err >&2\n: >" + (m_dir / "ran") + "\n", 0755);
    const auto output = testsupport::Captured([&] { Program::RunSilently(In("tool"), L""); });
    EXPECT_TRUE(testfiles::Exists(m_dir / "ran"));
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
}

TEST_F(ProgramTest, RunsNothingForAProgramThatWasNotFound) {
    Program::RunSilently(L"", L"; : >" + In("ran"));
    EXPECT_FALSE(testfiles::Exists(m_dir / "ran"));
}

TEST(StringToMapFilter, KeepsLinesUnderTheirNumbers) {
    StringToMapFilter filter;
    EXPECT_EQ(filter.Count(), 0U);
    for (int i = 0; i < 12; ++i) filter.Line(L"line " + String::FromInt(i));
    EXPECT_EQ(filter.Count(), 12U);
    EXPECT_EQ(filter.Map()[L"RawData0"], L"line 0");
    EXPECT_EQ(filter.Map()[L"RawData11"], L"line 11");
    EXPECT_EQ(filter.RawData(0), L"line 0");
    EXPECT_EQ(filter.RawData(11), L"line 11");
}

TEST(StringToMapFilter, GivesNothingForALineThatDidNotCome) {
    StringToMapFilter filter;
    EXPECT_EQ(filter.RawData(0), L"");
    EXPECT_EQ(filter.Count(), 0U);
    filter.Line(L"");
    EXPECT_EQ(filter.Count(), 1U);
    EXPECT_EQ(filter.RawData(0), L"");
    EXPECT_EQ(filter.RawData(1), L"");
}

TEST(StringToMapFilter, StartsAgain_WhenCleared) {
    StringToMapFilter filter;
    filter.Line(L"old");
    filter.Clear();
    EXPECT_EQ(filter.Count(), 0U);
    filter.Line(L"new");
    EXPECT_EQ(filter.RawData(0), L"new");
    EXPECT_EQ(filter.Count(), 1U);
}
