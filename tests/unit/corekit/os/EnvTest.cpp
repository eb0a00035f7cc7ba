// Variables of the environment as text.
#include <cstdlib>
#include <gtest/gtest.h>

#include "corekit/os/Env.h"
#include "tests/support/PrintString.h"

using corekit::String;

namespace Env = corekit::Env;

TEST(Env, GivesTheValueOfAVariable) {
    setenv("ENV_TEST", "a value = \xe2\x82\xac", 1);
    EXPECT_EQ(Env::Get(L"ENV_TEST"), L"a value = \u20AC");
}

TEST(Env, TellsAnEmptyVariableFromNone) {
    setenv("ENV_TEST", "", 1);
    EXPECT_EQ(Env::Get(L"ENV_TEST"), L"");

    unsetenv("ENV_TEST");
    EXPECT_EQ(Env::Get(L"ENV_TEST"), std::nullopt);
    EXPECT_EQ(Env::Get(L""), std::nullopt);
}

TEST(Env, KeepsBytesThatAreNotUtf8) {
    setenv("ENV_TEST", "/caf\xe9", 1);
    EXPECT_EQ(Env::Get(L"ENV_TEST").value().Utf8(), "/caf\xe9");
}
