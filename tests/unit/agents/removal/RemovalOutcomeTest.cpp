// What a clean-up could not remove: what counts, and what is told of it.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>

#include "agents/removal/RemovalOutcome.h"
#include "corekit/os/Result.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

using corekit::HostDirectory;
using corekit::Result;
using corekit::String;

namespace Zorvane::AgentInstaller {
namespace {

std::string Told(RemovalOutcome& left) {
    return testsupport::Captured([&] { left.Tell(); }).err;
}

/// What is told of one failure; empty when it does not count.
std::string ToldOf(const wchar_t* path, const Result& removal,
                   HostDirectory hostDirectory = HostDirectory::Refused) {
    RemovalOutcome left;
    left.Add(path, removal, hostDirectory);
    const std::string told = Told(left);
    EXPECT_EQ(left.Any(), !told.empty());
    return told;
}

TEST(RemovalOutcome, TellsOnceOfALinkOfAnotherUser_AndNotOfWhatLiesBelow) {
    const Result others = Result(corekit::kBelongsToOthers).About(L"/opt/a");
    RemovalOutcome left;
    for (const wchar_t* path :
         {L"/opt/a/swd/", L"/opt/a/swd/{*}", L"/opt/a/swd/Packages/.qdn-*", L"/opt/a/swd-2/"})
        left.Add(path, others);
    EXPECT_EQ(Told(left),
              "WARNING! /opt/a/swd is not used: /opt/a belongs to another user.\n"
              "WARNING! /opt/a/swd-2 is not used: /opt/a belongs to another user.\n");
    EXPECT_EQ(Told(left), "");
    EXPECT_TRUE(left.Any());
}

TEST(RemovalOutcome, CountsWhatTheSystemRefuses_AndNotWhatIsTheHosts) {
    EXPECT_EQ(ToldOf(L"/opt/agent/file", Result(EPERM)),
              "WARNING! /opt/agent/file could not be removed: Operation not permitted.\n");
    EXPECT_EQ(ToldOf(L"/usr/lib", Result(EPERM)), "");
    EXPECT_EQ(ToldOf(L"/usr/lib/*", Result(EPERM)), "");
    EXPECT_EQ(ToldOf(L"/usr/bin/x", Result(EPERM), HostDirectory::Meant),
              "WARNING! /usr/bin/x could not be removed: Operation not permitted.\n");
    EXPECT_EQ(ToldOf(L"/opt/agent/file", Result(ENOENT)), "");
    EXPECT_EQ(ToldOf(L"/opt/agent/file", Result()), "");
}

TEST(RemovalOutcome, NamesTheEntryOfATreeThatStays) {
    EXPECT_EQ(ToldOf(L"/opt/agent/", Result(EIO).About(L"/opt/agent/sub/file")),
              "WARNING! /opt/agent/sub/file could not be removed: Input/output error.\n");
    EXPECT_EQ(ToldOf(L"/", Result(EIO)), "WARNING! / could not be removed: Input/output error.\n");
}

TEST(RemovalOutcome, TakesOverWhatOthersHaveTold) {
    RemovalOutcome told;
    told.AddTold();
    RemovalOutcome left;
    left.Add(RemovalOutcome());
    EXPECT_FALSE(left.Any());
    left.Add(told);
    EXPECT_TRUE(left.Any());
    left.Add(RemovalOutcome());
    EXPECT_TRUE(left.Any());
    EXPECT_EQ(Told(left), "");
}

TEST(DirectoryBehindLink, IsTheLinkItself_WhereItLeadsNowhere) {
    std::filesystem::create_symlink("nowhere", "/opt/link");
    EXPECT_EQ(DirectoryBehindLink(L"/opt/link", L"/opt/link/etc/client.conf"), L"/opt/link");
    std::filesystem::remove("/opt/link");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
