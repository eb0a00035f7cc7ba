// How a failure is put together.
#include <cerrno>
#include <gtest/gtest.h>

#include "run/Failure.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::Result;

TEST(Failure, NamesItsSubject) {
    const Outcome<> outcome = Fail(L"Missing file in install. File:", L"/opt/x");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().text, L"Missing file in install. File:/opt/x");
    EXPECT_EQ(outcome.error().reason, L"");
}

TEST(Failure, IsToldByItsText_OrByOneForAll) {
    EXPECT_EQ((Failure{L"Missing file.", L"/opt/x: Is a directory"}).Told(), L"Missing file.");
    EXPECT_EQ((Failure{L"", L"/opt/x: Is a directory"}).Told(), L"Agent configuration failed.");
}

TEST(Failure, CarriesTheReasonOfTheSystem) {
    const Outcome<> outcome = FailAt(L"Unable to write to file: ", L"/opt/x", Result(ENOSPC));
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().text, L"Unable to write to file: /opt/x");
    EXPECT_EQ(outcome.error().reason, L"/opt/x: No space left on device");
}

TEST(Failure, KeepsTheTextOfTheCaller_WhenThePathStandsInsideIt) {
    const Outcome<> outcome = FailBecause(L"Directory /d must exist.", L"/d", Result(EROFS));
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().text, L"Directory /d must exist.");
    EXPECT_EQ(outcome.error().reason, L"/d: Read-only file system");
}

TEST(Failure, KeepsControlCharactersOfThePathOffTheTerminal) {
    const Outcome<> outcome = FailAt(L"Bad\n", L"a\x1b[2Jb\nc", Result(ENOENT));
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().text, L"Bad\na\\x1b[2Jb\\x0ac");
    EXPECT_EQ(outcome.error().reason, L"a\\x1b[2Jb\\x0ac: No such file or directory");
}

TEST(Failure, GivesTheValue_WhenThereIsNone) {
    const Outcome<int> outcome = 3;
    ASSERT_TRUE(outcome);
    EXPECT_EQ(*outcome, 3);
    EXPECT_TRUE(Outcome<>());
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
