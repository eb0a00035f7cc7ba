// How a failure is recorded.
#include <gtest/gtest.h>

#include "run/Error.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller {
namespace {

TEST(Error, FailRecordsTheTextAndReturnsFalse) {
    EXPECT_FALSE(Error::Fail(L"Unable to write to file: ", L"/opt/x"));
    EXPECT_EQ(Error::m_sErrorText, L"Unable to write to file: /opt/x");
}

TEST(Error, FailKeepsControlCharactersOfTheSubjectOffTheTerminal) {
    EXPECT_FALSE(Error::Fail(L"Bad\n", L"a\x1b[2Jb\nc"));
    EXPECT_EQ(Error::m_sErrorText, L"Bad\na\\x1b[2Jb\\x0ac");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
