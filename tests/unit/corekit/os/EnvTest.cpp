// Variables of the environment as text.
#include <cstdlib>
#include <gtest/gtest.h>

#include "corekit/os/Env.h"
#include "tests/support/PrintString.h"

using corekit::String;

namespace Env = corekit::Env;

TEST(Env, GivesTheValueOfAVariable) {
    setenv("ENV_TEST", "a value = \xe2\x82\xac", 1);
    String value;
    EXPECT_TRUE(Env::Get(L"ENV_TEST", value));
    EXPECT_EQ(value, L"a value = \u20AC");
}

TEST(Env, TellsAnEmptyVariableFromNone) {
    setenv("ENV_TEST", "", 1);
    String value = L"before";
    EXPECT_TRUE(Env::Get(L"ENV_TEST", value));
    EXPECT_EQ(value, L"");

    unsetenv("ENV_TEST");
    value = L"before";
    EXPECT_FALSE(Env::Get(L"ENV_TEST", value));
    EXPECT_EQ(value, L"before");
    EXPECT_FALSE(Env::Get(L"", value));
}

TEST(Env, KeepsBytesThatAreNotUtf8) {
    setenv("ENV_TEST", "/caf\xe9", 1);
    String value;
    ASSERT_TRUE(Env::Get(L"ENV_TEST", value));
    EXPECT_EQ(value.Utf8(), "/caf\xe9");
}
