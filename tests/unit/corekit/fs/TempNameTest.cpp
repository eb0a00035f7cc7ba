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
    for (int run = 0; run < 2; ++run) {
        const auto made = MakeBeside(kEntry, [&](const std::string& name) {
            EXPECT_EQ(name, ".name.unfinished");
            return Result();
        });
        EXPECT_EQ(made.value(), ".name.unfinished");
    }
}

TEST(MakeBeside, ClearsAwayWhatAKilledRunLeft) {
    const testfiles::TempDir dir;
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    ASSERT_EQ(mkdirat(directory.Get(), ".name.unfinished", 0700), 0);
    testfiles::Write(dir / ".name.unfinished/file", "");
    const auto made = MakeBeside({directory.Get(), "name"}, [&](const std::string& name) {
        return corekit::Outcome(mkdirat(directory.Get(), name.c_str(), 0700));
    });
    EXPECT_EQ(made.value(), ".name.unfinished");
    EXPECT_TRUE(std::filesystem::is_empty(dir / ".name.unfinished"));
}

TEST(MakeBeside, OffersOtherNames_AsLongAsTheyAreTaken) {
    std::set<std::string> offered;
    const auto made = MakeBeside(kEntry, [&](const std::string& name) {
        offered.insert(name);
        return offered.size() < 5 ? Result(EEXIST) : Result();
    });
    EXPECT_THAT(made.value(), MatchesRegex("\\.name\\.[0-9A-Za-z]{6}"));
    EXPECT_EQ(offered.size(), 5U);
    EXPECT_TRUE(offered.contains(made.value()));
}

TEST(MakeBeside, StopsAtAnyOtherFailure) {
    int calls = 0;
    const auto fail = [&](const std::string&) {
        ++calls;
        return Result(ENOSPC);
    };
    EXPECT_EQ(MakeBeside(kEntry, fail), Result(ENOSPC));
    EXPECT_EQ(calls, 1);
}

TEST(MakeBeside, StopsAtAnyOtherFailure_WhenTheUsualNameIsTaken) {
    std::set<std::string> offered;
    const auto fail = [&](const std::string& name) {
        offered.insert(name);
        return Result(name == ".name.unfinished" ? EEXIST : ENOSPC);
    };
    EXPECT_EQ(MakeBeside(kEntry, fail), Result(ENOSPC));
    EXPECT_EQ(offered.size(), 2U);
}

TEST(MakeBeside, GivesUp_WhenTheUsualNameAndAHundredOthersAreTaken) {
    std::set<std::string> offered;
    const auto refuse = [&](const std::string& name) {
        offered.insert(name);
        return Result(EEXIST);
    };
    EXPECT_EQ(MakeBeside(kEntry, refuse), Result(EEXIST));
    EXPECT_EQ(offered.size(), 101U);
}

TEST(MakeBeside, KeepsToTheLengthOfAName) {
    const auto made = MakeBeside({-1, std::string(255, 'n')}, [](const std::string&) { return Result(); });
    EXPECT_LE(made.value().size(), 255U);
}

TEST(MakeBeside, NeedsNoRandomNumbers) {
    const int failure = testsupport::WithFailing({{SYS_getrandom, ENOSYS}}, [] {
        int calls = 0;
        return MakeBeside(kEntry, [&](const std::string&) { return ++calls < 4 ? Result(EEXIST) : Result(); })
            .Outcome()
            .Code();
    });
    EXPECT_EQ(failure, 0);
}
