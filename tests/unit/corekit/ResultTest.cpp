// Outcomes of operations on the system.
#include <cerrno>
#include <gtest/gtest.h>

#include "corekit/Result.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"

using corekit::Result;

TEST(Result, IsSuccessByDefault) {
    const Result result;
    EXPECT_TRUE(result.Ok());
    EXPECT_TRUE(result);
    EXPECT_EQ(result.Code(), 0);
}

TEST(Result, HoldsAnErrnoValue) {
    const Result result(ENOENT);
    EXPECT_FALSE(result.Ok());
    EXPECT_FALSE(result);
    EXPECT_EQ(result.Code(), ENOENT);
    EXPECT_EQ(result, Result(ENOENT));
    EXPECT_NE(result, Result(EACCES));
    EXPECT_NE(result, Result());
}

TEST(Result, TakesWhatErrnoTells) {
    errno = EACCES;
    EXPECT_EQ(Result::FromErrno(), Result(EACCES));
}

TEST(Result, HasTheSystemsText) {
    EXPECT_EQ(corekit::GetErrorMsg(Result(ENOENT)), L"No such file or directory");
    EXPECT_EQ(corekit::GetErrorMsg(Result(EACCES)), L"Permission denied");
    EXPECT_EQ(corekit::GetErrorMsg(Result(ENOSPC)), L"No space left on device");
    EXPECT_EQ(corekit::GetErrorMsg(Result()), L"Success");
}
