// Outcomes of operations on the system.
#include <cerrno>
#include <gtest/gtest.h>

#include "corekit/os/Result.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"

using corekit::Expected;
using corekit::IsNotFound;
using corekit::IsTransient;
using corekit::Result;
using corekit::Worse;

namespace {

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

TEST(Result, TakesTheValueOfErrno) {
    errno = EACCES;
    EXPECT_EQ(Result::FromErrno(), Result(EACCES));
}

TEST(Result, IsNotFound_OnlyWhenTheSystemSaysSo) {
    for (const int code : {ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG})
        EXPECT_TRUE(IsNotFound(Result(code))) << code;
    for (const int code : {0, EIO, EACCES, EINTR, EMFILE, ENOSPC, EPERM, EISDIR})
        EXPECT_FALSE(IsNotFound(Result(code))) << code;
}

TEST(Result, IsTransient_WhenAnotherTryMaySucceed) {
    for (const int code : {EIO, EACCES, EINTR, EMFILE, ENFILE, ENOMEM, ENOSPC, EDQUOT, ESTALE})
        EXPECT_TRUE(IsTransient(Result(code))) << code;
    for (const int code :
         {0, ENOENT, ENOTDIR, ELOOP, EPERM, EBUSY, EROFS, EISDIR, EINVAL, EFBIG, EEXIST, ENOTEMPTY})
        EXPECT_FALSE(IsTransient(Result(code))) << code;
}

TEST(Result, IsTheWorseOne_OfTwo) {
    const Result ok;
    const Result refused(EPERM);
    const Result busy(EBUSY);
    const Result trouble(EIO);
    EXPECT_EQ(Worse(ok, ok), ok);
    EXPECT_EQ(Worse(ok, refused), refused);
    EXPECT_EQ(Worse(refused, ok), refused);
    EXPECT_EQ(Worse(refused, busy), refused);
    EXPECT_EQ(Worse(refused, trouble), trouble);
    EXPECT_EQ(Worse(trouble, refused), trouble);
    EXPECT_EQ(Worse(trouble, Result(EMFILE)), trouble);
}

TEST(Result, HasTheSystemsText) {
    EXPECT_EQ(corekit::GetErrorMsg(Result(ENOENT)), L"No such file or directory");
    EXPECT_EQ(corekit::GetErrorMsg(Result(EACCES)), L"Permission denied");
    EXPECT_EQ(corekit::GetErrorMsg(Result(ENOSPC)), L"No space left on device");
    EXPECT_EQ(corekit::GetErrorMsg(Result()), L"Success");
    EXPECT_EQ(corekit::GetErrorMsg(Result(corekit::kBelongsToOthers)), L"it belongs to another user");
}

TEST(Result, KeepsTheFirstPathThatAFailureConcerns) {
    EXPECT_EQ(Result(EIO).Path(), L"");
    EXPECT_EQ(Result(EIO).About(L"/a").Path(), L"/a");
    EXPECT_EQ(Result(EIO).About(L"/a").About(L"/b").Path(), L"/a");
    EXPECT_EQ(Result().About(L"/a").Path(), L"");
    EXPECT_EQ(Result(EIO).About(L"/a"), Result(EIO));
}

TEST(Expected, HoldsAValueOrTheFailure) {
    const Expected<int> value(7);
    EXPECT_TRUE(value);
    EXPECT_EQ(*value, 7);
    EXPECT_TRUE(value.Outcome());
    const Expected<int> none = Result(ENOSPC);
    EXPECT_FALSE(none);
    EXPECT_EQ(none, Result(ENOSPC));
    EXPECT_NE(none, Result(EIO));
    EXPECT_EQ(none.value_or(8), 8);
}

TEST(Expected, KeepsThePathThatAFailureConcerns) {
    EXPECT_EQ(Expected<int>(Result(EIO)).About(L"/a").error().Path(), L"/a");
    EXPECT_EQ(*Expected<int>(7).About(L"/a"), 7);
}

}  // namespace
