// Free names beside another.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/TempName.h"
#include "corekit/os/SystemCall.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintResult.h"
#include "tests/support/TestFiles.h"

using corekit::Descriptor;
using corekit::EntryRef;
using corekit::MakeBeside;
using corekit::Result;
using testing::MatchesRegex;

namespace {

/// In no directory that exists: nothing is there to be cleared away.
const EntryRef kEntry = {-1, "name"};

}  // namespace

TEST(MakeBeside, OffersTheSameHiddenNameEachTime) {
    std::string made;
    for (int run = 0; run < 2; ++run) {
        EXPECT_TRUE(MakeBeside(kEntry, made, [&](const std::string& candidate) {
            EXPECT_EQ(candidate, ".name.unfinished");
            return Result();
        }));
        EXPECT_EQ(made, ".name.unfinished");
    }
}

TEST(MakeBeside, ClearsAwayWhatAKilledRunLeft) {
    const testfiles::TempDir dir;
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    ASSERT_EQ(mkdirat(directory.Get(), ".name.unfinished", 0700), 0);
    testfiles::Write(dir / ".name.unfinished/file", "");
    std::string made;
    EXPECT_TRUE(MakeBeside({directory.Get(), "name"}, made, [&](const std::string& candidate) {
        return corekit::Outcome(mkdirat(directory.Get(), candidate.c_str(), 0700));
    }));
    EXPECT_EQ(made, ".name.unfinished");
    EXPECT_TRUE(std::filesystem::is_empty(dir / ".name.unfinished"));
}

TEST(MakeBeside, OffersOtherNames_AsLongAsTheyAreTaken) {
    std::set<std::string> offered;
    std::string made;
    EXPECT_TRUE(MakeBeside(kEntry, made, [&](const std::string& candidate) {
        offered.insert(candidate);
        return offered.size() < 5 ? Result(EEXIST) : Result();
    }));
    EXPECT_THAT(made, MatchesRegex("\\.name\\.[0-9A-Za-z]{6}"));
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
    EXPECT_EQ(MakeBeside(kEntry, made, fail), Result(ENOSPC));
    EXPECT_EQ(calls, 1);
}

TEST(MakeBeside, GivesUp_WhenTheUsualNameAndAHundredOthersAreTaken) {
    std::set<std::string> offered;
    std::string made;
    const auto refuse = [&](const std::string& candidate) {
        offered.insert(candidate);
        return Result(EEXIST);
    };
    EXPECT_EQ(MakeBeside(kEntry, made, refuse), Result(EEXIST));
    EXPECT_EQ(offered.size(), 101U);
}

TEST(MakeBeside, KeepsToTheLengthOfAName) {
    std::string made;
    EXPECT_TRUE(MakeBeside({-1, std::string(255, 'n')}, made, [](const std::string&) { return Result(); }));
    EXPECT_LE(made.size(), 255U);
}

TEST(MakeBeside, NeedsNoRandomNumbers) {
    const int failure = testsupport::WithFailing({{SYS_getrandom, ENOSYS}}, [] {
        std::string made;
        int calls = 0;
        return MakeBeside(kEntry, made,
                          [&](const std::string&) { return ++calls < 4 ? Result(EEXIST) : Result(); })
            .Code();
    });
    EXPECT_EQ(failure, 0);
}
