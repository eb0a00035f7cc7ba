// Start and stop links in every layout of the run levels' directories.
#include <filesystem>
#include <gmock/gmock.h>

#include "deploykit/ServiceScript.h"
#include "tests/unit/deploykit/ServiceHost.h"

using deploykit::ServiceLevels;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;
namespace RunLevelLinks = deploykit::RunLevelLinks;

namespace {

const ServiceLevels kLevels = {L"235", L"06"};

class RunLevelLinksTest : public testing::Test {
  protected:
    void RemoveLevelDirectories() {
        for (const char level : std::string("0123456")) fs::remove(std::string("/etc/rc") + level + ".d");
    }

    ServiceHost m_host;
};

}  // namespace

TEST_F(RunLevelLinksTest, MakesRelativeLinksInTheLevelsDirectories) {
    testfiles::Write("/etc/init.d/agent", "");
    EXPECT_TRUE(RunLevelLinks::Make(L"agent", kLevels));
    EXPECT_THAT(ServiceHost::Links(),
                ElementsAre("rc0.d/K01agent -> ../init.d/agent", "rc2.d/S99agent -> ../init.d/agent",
                            "rc3.d/S99agent -> ../init.d/agent", "rc5.d/S99agent -> ../init.d/agent",
                            "rc6.d/K01agent -> ../init.d/agent"));
}

TEST_F(RunLevelLinksTest, MakesLinksBelowRcDWhereTheLevelsAreThere) {
    RemoveLevelDirectories();
    fs::remove(fs::path("/etc/init.d"));
    fs::create_directory_symlink("rc.d/init.d", "/etc/init.d");
    testfiles::Write("/etc/rc.d/init.d/agent", "");
    for (const char* level : {"0", "2", "3", "5", "6"})
        fs::create_directory(std::string("/etc/rc.d/rc") + level + ".d");
    EXPECT_TRUE(RunLevelLinks::Make(L"agent", kLevels));
    EXPECT_THAT(ServiceHost::Links("/etc/rc.d"),
                ElementsAre("rc0.d/K01agent -> ../init.d/agent", "rc2.d/S99agent -> ../init.d/agent",
                            "rc3.d/S99agent -> ../init.d/agent", "rc5.d/S99agent -> ../init.d/agent",
                            "rc6.d/K01agent -> ../init.d/agent"));
    EXPECT_TRUE(RunLevelLinks::AreStartedIn(L"agent", L"235"));
    EXPECT_TRUE(RunLevelLinks::Remove(L"agent"));
    EXPECT_THAT(ServiceHost::Links("/etc/rc.d"), IsEmpty());
}

TEST_F(RunLevelLinksTest, MakesLinksThatLeadToTheScript_WhereTheLevelsAreBesideIt) {
    RemoveLevelDirectories();
    fs::create_directory_symlink("init.d", "/etc/rc.d");
    testfiles::Write("/etc/init.d/agent", "");
    fs::create_directory("/etc/init.d/rc3.d");
    EXPECT_TRUE(RunLevelLinks::Make(L"agent", {L"3", L""}));
    EXPECT_THAT(ServiceHost::Links("/etc/init.d"), ElementsAre("rc3.d/S99agent -> /etc/init.d/agent"));
    EXPECT_TRUE(RunLevelLinks::Remove(L"agent"));
    EXPECT_THAT(ServiceHost::Links("/etc/init.d"), IsEmpty());
}

TEST_F(RunLevelLinksTest, KeepsLinksOfTheKindThatStandThere) {
    testfiles::Write("/etc/init.d/agent", "");
    fs::create_symlink("../init.d/agent", "/etc/rc2.d/S20agent");
    fs::create_symlink("../init.d/agent", "/etc/rc0.d/K90agent");
    EXPECT_TRUE(RunLevelLinks::Make(L"agent", {L"23", L"0"}));
    EXPECT_THAT(ServiceHost::Links(),
                ElementsAre("rc0.d/K90agent -> ../init.d/agent", "rc2.d/S20agent -> ../init.d/agent",
                            "rc3.d/S99agent -> ../init.d/agent"));
}

TEST_F(RunLevelLinksTest, MakesNoLinkForALevelWithoutADirectory) {
    fs::remove("/etc/rc4.d");
    EXPECT_TRUE(RunLevelLinks::Make(L"agent", {L"4", L""}));
    EXPECT_FALSE(testfiles::Exists("/etc/rc4.d"));
    EXPECT_FALSE(RunLevelLinks::AreStartedIn(L"agent", L"4"));
}

TEST_F(RunLevelLinksTest, MakesTheDirectoriesThatAreMissing) {
    RemoveLevelDirectories();
    RunLevelLinks::MakeDirectories({L"25", L"6"});
    for (const char* made : {"/etc/rc2.d", "/etc/rc5.d", "/etc/rc6.d"})
        EXPECT_TRUE(fs::is_directory(made)) << made;
    EXPECT_FALSE(testfiles::Exists("/etc/rc0.d"));
}

TEST_F(RunLevelLinksTest, MakesMissingDirectoriesBelowRcDWhereThatIs) {
    RemoveLevelDirectories();
    fs::create_directories("/etc/rc.d/rc2.d");
    RunLevelLinks::MakeDirectories({L"23", L""});
    EXPECT_TRUE(fs::is_directory("/etc/rc.d/rc3.d"));
    EXPECT_FALSE(testfiles::Exists("/etc/rc2.d"));
    EXPECT_FALSE(testfiles::Exists("/etc/rc3.d"));
}

TEST_F(RunLevelLinksTest, CountsStartLinksInEveryLevelThatIsAskedFor) {
    fs::create_symlink("../init.d/agent", "/etc/rc2.d/S01agent");
    fs::create_symlink("../init.d/agent", "/etc/rc3.d/K01agent");
    fs::create_symlink("../init.d/agents", "/etc/rc5.d/S01agents");
    EXPECT_TRUE(RunLevelLinks::AreStartedIn(L"agent", L""));
    EXPECT_TRUE(RunLevelLinks::AreStartedIn(L"agent", L"2"));
    EXPECT_FALSE(RunLevelLinks::AreStartedIn(L"agent", L"23"));
    EXPECT_FALSE(RunLevelLinks::AreStartedIn(L"agent", L"5"));
}

TEST_F(RunLevelLinksTest, RemovesLinksOfTheExactNameOnly) {
    fs::create_directory("/etc/rcS.d");
    for (const char* ours :
         {"rc0.d/K00agent", "rc2.d/S01agent", "rc2.d/K99agent", "rc6.d/S50agent", "rcS.d/S10agent"})
        fs::create_symlink("../init.d/agent", std::string("/etc/") + ours);
    const auto others = {"rc2.d/S01agent2", "rc2.d/S01xagent", "rc2.d/S1agent", "rc2.d/S001agent",
                         "rc2.d/Sxxagent",  "rc2.d/T01agent",  "rc2.d/agent",   "rc2.d/s01agent"};
    for (const char* other : others) fs::create_symlink("../init.d/other", std::string("/etc/") + other);

    EXPECT_TRUE(RunLevelLinks::Remove(L"agent"));
    std::vector<std::string> left;
    for (const char* other : others) left.push_back(std::string(other) + " -> ../init.d/other");
    EXPECT_THAT(ServiceHost::Links(), testing::UnorderedElementsAreArray(left));
}

TEST_F(RunLevelLinksTest, LeavesADirectoryOfSuchANameAlone) {
    testfiles::Write("/etc/rc2.d/S01agent/file", "kept");
    EXPECT_TRUE(RunLevelLinks::Remove(L"agent"));
    EXPECT_EQ(testfiles::Read("/etc/rc2.d/S01agent/file"), "kept");
}

TEST_F(RunLevelLinksTest, RemovesNothingWithoutAnyLevels) {
    RemoveLevelDirectories();
    EXPECT_TRUE(RunLevelLinks::Remove(L"agent"));
}
