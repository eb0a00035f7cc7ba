// Running tools of the host.
#include <gtest/gtest.h>

#include "deploykit/HostTool.h"
#include "tests/support/Captured.h"
#include "tests/support/TestFiles.h"

using corekit::String;
using deploykit::RunHostTool;
using testsupport::Captured;

TEST(HostTool, RunsAProgramOfAnyPathWithItsArguments) {
    const testfiles::TempDir dir;
    const std::string tool = dir / "a tool; exit";
    testfiles::Write(tool, "#!/bin/sh\nprintf '<%s>' \"$@\" >" + (dir / "arguments") + "\n", 0755);
    RunHostTool(String::FromUtf8(tool), L"--add 'two words'");
    EXPECT_EQ(testfiles::Read(dir / "arguments"), "<--add><two words>");
}

TEST(HostTool, DropsWhatAToolPrints) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "tool", "#!/bin/sh\necho out\necho err >&2\n: >" + (dir / "ran") + "\n", 0755);
    const auto output = Captured([&] { RunHostTool(String::FromUtf8(dir / "tool"), L""); });
    EXPECT_TRUE(testfiles::Exists(dir / "ran"));
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
}

TEST(HostTool, RunsNothingForAToolThatWasNotFound) {
    const testfiles::TempDir dir;
    RunHostTool(L"", L"; : >" + String::FromUtf8(dir / "ran"));
    EXPECT_FALSE(testfiles::Exists(dir / "ran"));
}
