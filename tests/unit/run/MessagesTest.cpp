// What reaches the operator: on which stream, in which character set, and under -quiet.
#include <gtest/gtest.h>
#include <stdlib.h>

#include "run/Args.h"
#include "run/Messages.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller {
namespace {

using testsupport::Captured;

class Messages_ : public testing::Test {
  protected:
    void SetUp() override { setenv("LC_ALL", "en_US.UTF-8", 1); }
};

TEST_F(Messages_, SayGoesToStandardOutput) {
    const auto output = Captured([] { Messages::Say(L"working\n"); });
    EXPECT_EQ(output.out, "working\n");
    EXPECT_EQ(output.err, "");
}

TEST_F(Messages_, SayIsSilentInAQuietRun) {
    Args::bQuiet = true;
    EXPECT_EQ(Captured([] { Messages::Say(L"working\n"); }).out, "");
}

TEST_F(Messages_, TellWritesInAQuietRunToo) {
    Args::bQuiet = true;
    EXPECT_EQ(Captured([] { Messages::Tell(L"refused\n"); }).out, "refused\n");
}

TEST_F(Messages_, WarnGoesToStandardErrorInAQuietRunToo) {
    Args::bQuiet = true;
    const auto output = Captured([] { Messages::Warn(L"WARNING!\n"); });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "WARNING!\n");
}

TEST_F(Messages_, TextsGoOutInTheLocalCharacterSet) {
    EXPECT_EQ(Captured([] { Messages::Tell(L"\u00e9\n"); }).out, "\xc3\xa9\n");
    setenv("LC_ALL", "de_DE.ISO-8859-1", 1);
    EXPECT_EQ(Captured([] { Messages::Tell(L"\u00e9\n"); }).out, "\xe9\n");
    setenv("LC_ALL", "C", 1);
    EXPECT_EQ(Captured([] { Messages::Tell(L"\u00e9\n"); }).out, "?\n");
}

TEST_F(Messages_, ShownValuesCarryNoControlCharacters) {
    EXPECT_EQ(Messages::Shown(L"a\tb\x7f\x9b\n"), L"a\tb\\x7f\\x9b\\x0a");
    EXPECT_EQ(Messages::ShownAscii(L"\u00e9\x1b"), L"?\\x1b");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
