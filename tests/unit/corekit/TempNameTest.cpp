// Free names beside another.
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/syscall.h>

#include "corekit/TempName.h"
#include "tests/support/FailingCall.h"

using corekit::MakeBeside;
using corekit::Result;
using testing::MatchesRegex;

TEST(MakeBeside, OffersOneHiddenNameAfterAnotherAsLongAsTheyAreTaken) {
    std::set<std::string> offered;
    std::string made;
    EXPECT_TRUE(MakeBeside("name", made, [&](const std::string& candidate) {
        EXPECT_THAT(candidate, MatchesRegex("\\.name\\.[0-9A-Za-z]{6}"));
        offered.insert(candidate);
        return offered.size() < 5 ? Result(EEXIST) : Result();
    }));
    EXPECT_EQ(offered.size(), 5U);
    EXPECT_TRUE(offered.contains(made));
}

TEST(MakeBeside, StopsAtAnyOtherFailure) {
    int calls = 0;
    std::string made;
    const auto fail = [&](const std::string&) {
        ++calls;
        return Result(ENOSPC);
    };
    EXPECT_EQ(MakeBeside("name", made, fail), Result(ENOSPC));
    EXPECT_EQ(calls, 1);
}

TEST(MakeBeside, GivesUpWhenEveryNameIsTaken) {
    std::string made;
    EXPECT_EQ(MakeBeside("name", made, [](const std::string&) { return Result(EEXIST); }), Result(EEXIST));
}

TEST(MakeBeside, KeepsToTheLengthOfAName) {
    std::string made;
    EXPECT_TRUE(MakeBeside(std::string(255, 'n'), made, [](const std::string&) { return Result(); }));
    EXPECT_LE(made.size(), 255U);
}

TEST(MakeBeside, NeedsNoRandomNumbers) {
    const int failure = testsupport::WithFailing({{SYS_getrandom, ENOSYS}}, [] {
        std::string made;
        int calls = 0;
        return MakeBeside("name", made,
                          [&](const std::string&) { return ++calls < 3 ? Result(EEXIST) : Result(); })
            .Code();
    });
    EXPECT_EQ(failure, 0);
}
