// What is told of an installation by looking at it, without a rehearsal.
#include <cerrno>
#include <filesystem>
#include <sys/syscall.h>

#include "status/Facts.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Status {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StatusFacts : public testing::Test {
  protected:
    ~StatusFacts() override {
        for (const char* path : {"/opt/agent", "/opt/zorvane", "/opt/other", "/etc/init.d/zorvane"})
            std::filesystem::remove_all(path);
    }
    static void Configure(const std::string& directory = "/opt/agent") {
        testfiles::Write(directory + "/etc/client.conf",
                         "[Version]\nagent_major=6\nagent_minor=1\nagent_build=500\n"
                         "[Kell Servers]\nserver-1=kell.example:8083\n"
                         "[Configuration]\ninstalldir=" +
                             directory +
                             "\nguid_guid_file=etc/host.GUID\nrunlevels_start=2 3\n"
                             "[Client Transport]\nks_url_format=https://%server%/Zorvane/\n");
    }
};

TEST_F(StatusFacts, NothingIsInstalledWithoutAConfiguration) {
    std::filesystem::create_directories("/opt/agent/etc");
    const Facts facts = GatherFacts(L"/opt/agent");
    EXPECT_FALSE(facts.isInstalled || facts.isUnfinished || facts.hasIdentifier || facts.process);
    EXPECT_EQ(facts.directory, L"/opt/agent");
}

TEST_F(StatusFacts, TheConfigurationGivesVersionServerAndIdentifier) {
    Configure();
    Facts facts = GatherFacts(L"/opt/agent");
    EXPECT_TRUE(facts.isInstalled);
    EXPECT_FALSE(facts.isUnfinished);
    EXPECT_EQ(facts.version, L"6.1.500");
    EXPECT_EQ(facts.label, L"6.1");
    EXPECT_EQ(facts.server->Text(), L"https://kell.example:8083");
    EXPECT_EQ(facts.identifierFile, L"/opt/agent/etc/host.GUID") << "a relative name";
    EXPECT_FALSE(facts.hasIdentifier);
    testfiles::Write("/opt/agent/etc/host.GUID", "x");
    facts = GatherFacts(L"/opt/agent");
    EXPECT_TRUE(facts.hasIdentifier);
}

TEST_F(StatusFacts, HowItIsStartedIsNotKnown_WhenADirectoryOfARunLevelCannotBeRead) {
    Configure();
    testfiles::Write("/etc/rc0.d/README", "");
    EXPECT_EQ(testsupport::WithFailing({{SYS_getdents64, EIO}},
                                       [] {
                                           const Boot boot = GatherFacts(L"/opt/agent").boot;
                                           EXPECT_EQ(boot.unreadable, L"/etc/rc0.d: Input/output error");
                                           EXPECT_THAT(boot.levels, IsEmpty());
                                           EXPECT_THAT(boot.by, IsEmpty());
                                           return testing::Test::HasFailure() ? 1 : 0;
                                       }),
              0);
}

TEST_F(StatusFacts, TheDirectoryIsThatOfThePackage_WhereNoOtherHasAConfiguration) {
    Configure("/opt/other");
    testsupport::StandIns host;
    host.Add("rpm", "echo /opt/other/etc/client.proto");
    EXPECT_EQ(FindInstallDir(), L"/opt/other");
    host.Add("rpm", "echo /opt/agent/etc/client.proto");
    EXPECT_EQ(FindInstallDir(), L"/opt/zorvane/kell/ksagent") << "it is not configured";
}

TEST_F(StatusFacts, TheDirectoryStaysTheOneThatWasAskedFor_WhateverItsConfigurationNames) {
    Configure("/opt/other");
    std::filesystem::create_directories("/opt/agent");
    std::filesystem::copy("/opt/other/etc", "/opt/agent/etc");
    EXPECT_EQ(GatherFacts(L"/opt/agent").directory, L"/opt/agent");
}

TEST_F(StatusFacts, AnUnknownVersionHasNoLabel) {
    testfiles::Write("/opt/agent/etc/client.conf",
                     "[Version]\nagent_major=9\nagent_minor=0\nagent_build=1\n");
    const Facts facts = GatherFacts(L"/opt/agent");
    EXPECT_TRUE(facts.isInstalled);
    EXPECT_EQ(facts.version, L"9.0.1");
    EXPECT_EQ(facts.server, std::nullopt);
}

TEST_F(StatusFacts, AnUnfinishedUpgradeIsDescribedByTheSavedConfiguration) {
    Configure();
    std::filesystem::rename("/opt/agent/etc/client.conf", "/opt/agent/etc/client.conf.old");
    testfiles::Write("/opt/agent/etc/.unfinished", "upgrade\n");
    const Facts facts = GatherFacts(L"/opt/agent");
    EXPECT_TRUE(facts.isInstalled && facts.isUnfinished);
    EXPECT_EQ(facts.version, L"6.1.500");
}

TEST_F(StatusFacts, NothingIsMadeUpOfAConfigurationThatCannotBeRead) {
    std::filesystem::create_directories("/opt/agent/etc/client.conf");
    Facts facts = GatherFacts(L"/opt/agent");
    EXPECT_TRUE(facts.isInstalled);
    EXPECT_EQ(facts.version + L"/" + facts.unreadable, L"/Is a directory");
    std::filesystem::remove("/opt/agent/etc/client.conf");
    testfiles::Write("/opt/agent/etc/.unfinished", "");
    facts = GatherFacts(L"/opt/agent");
    EXPECT_TRUE(facts.isInstalled && facts.isUnfinished);
    EXPECT_EQ(facts.version + L"/" + facts.unreadable, L"/") << "a first run has not come to it yet";
}

TEST_F(StatusFacts, ALinkToTheInstallDirectoryIsAnotherNameOfIt) {
    Configure();
    std::filesystem::create_directories("/opt/zorvane");
    std::filesystem::create_symlink("/opt/agent", "/opt/zorvane/link");
    const Facts facts = GatherFacts(L"/opt/zorvane/link");
    EXPECT_EQ(facts.directory, L"/opt/agent");
    EXPECT_EQ(facts.clientConf, L"/opt/agent/etc/client.conf");
    std::filesystem::rename("/opt/agent", "/opt/other");
    EXPECT_EQ(GatherFacts(L"/opt/other").directory, L"/opt/other") << "not the one that client.conf names";
}

TEST_F(StatusFacts, LinksAndUnitShowHowTheAgentIsStartedAtBoot) {
    Configure();
    EXPECT_THAT(GatherFacts(L"/opt/agent").boot.by, IsEmpty());
    testfiles::Write("/etc/rc5.d/S99zorvane", "");
    testfiles::Write("/etc/rc0.d/K01zorvane", "");
    Boot boot = GatherFacts(L"/opt/agent").boot;
    EXPECT_THAT(boot.by, ElementsAre(L"links"));
    EXPECT_THAT(boot.levels, ElementsAre(5));
    std::filesystem::remove("/etc/rc5.d/S99zorvane");
    std::filesystem::remove("/etc/rc0.d/K01zorvane");

    testfiles::Write("/etc/systemd/system/zorvane.service", "");
    EXPECT_THAT(GatherFacts(L"/opt/agent").boot.by, IsEmpty()) << "a unit that nothing pulls in";
    testfiles::Write("/etc/systemd/system/multi-user.target.wants/zorvane.service", "");
    boot = GatherFacts(L"/opt/agent").boot;
    EXPECT_THAT(boot.by, ElementsAre(L"systemd"));
    EXPECT_THAT(boot.levels, ElementsAre(2, 3)) << "those of client.conf";
    std::filesystem::remove("/etc/systemd/system/zorvane.service");
    std::filesystem::remove("/etc/systemd/system/multi-user.target.wants/zorvane.service");
}

TEST_F(StatusFacts, TheDirectoryIsThatOfTheVariableOrTheUsualOne) {
    EXPECT_EQ(FindInstallDir(), L"/opt/zorvane/kell/ksagent") << "where none has a configuration";
    Configure("/opt/other");
    const testsupport::EnvironmentVariable file("QDNCLIENT_CONFIG_FILE", "/opt/other/etc/client.conf");
    EXPECT_EQ(FindInstallDir(), L"/opt/other");
    std::filesystem::remove_all("/opt/other");
    Configure("/opt/zorvane/kell/ksagent");
    EXPECT_EQ(FindInstallDir(), L"/opt/zorvane/kell/ksagent");
}

TEST_F(StatusFacts, TheDirectoryIsTheUsualOne_WhereNothingTellsWhichProgramRuns) {
    const auto noProcesses = testsupport::Mount::Tmpfs("/proc");
    EXPECT_EQ(FindInstallDir(), L"/opt/zorvane/kell/ksagent");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Status
