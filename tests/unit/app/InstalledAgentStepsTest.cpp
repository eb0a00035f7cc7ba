// What is taken over from the agent found on the host, what is kept of it, and what fails the run.
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/ConfigureSteps.h"
#include "run/Marks.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

/// An installed agent with given settings, which tells what is asked of it.
class FakeAgent : public Agent {
  public:
    FakeAgent() : Agent(L"6.0", L"/opt/old") {}

    Outcome<std::unique_ptr<Settings>> LoadSettings() override {
        if (!loads) return Fail(L"Missing or unreadable file in install. File: ", ConfPath());
        return std::make_unique<Settings>(stored);
    }
    Outcome<> RemoveSystemIntegration() override { return DoneIf(removesIntegration); }
    Outcome<> RemoveFiles(const String& newConfPath) override {
        removedFor = newConfPath;
        return DoneIf(removesFiles);
    }
    bool IsUpgradeSupported() const override { return upgradeSupported; }

    static Outcome<> DoneIf(bool succeeds) { return succeeds ? Outcome<>() : Outcome<>(Fail(L"it stays")); }

    Settings stored;
    bool loads = true;
    bool removesIntegration = true;
    bool removesFiles = true;
    bool upgradeSupported = true;
    String removedFor = L"-";
};

class InstalledAgentSteps : public testing::Test {
  protected:
    InstalledAgentSteps() {
        auto agent = std::make_unique<FakeAgent>();
        m_agent = agent.get();
        m_run.installed = std::move(agent);
        m_run.settings = std::make_unique<Settings>();
    }
    void TearDown() override { std::filesystem::remove_all("/opt/new"); }

    static String TextOf(const Outcome<>& outcome) {
        return outcome ? String(L"(no failure)") : outcome.error().text;
    }
    static String ReasonOf(const Outcome<>& outcome) {
        return outcome ? String(L"(no failure)") : outcome.error().reason;
    }

    String& Setting(SettingName name) { return m_run.settings->Value(name); }
    String& Stored(SettingName name) { return m_agent->stored.Value(name); }

    ConfigureRun m_run;
    FakeAgent* m_agent;
};

TEST_F(InstalledAgentSteps, TheInstalledAgentsValuesWinButItsEmptyOnesDoNot) {
    Setting(L"TempDir") = L"/tmp";
    Setting(L"LogSize") = L"256";
    Stored(L"TempDir") = L"/var/tmp";
    Stored(L"LogSize") = L"";
    EXPECT_TRUE(MergeInstalledSettings(m_run));
    EXPECT_EQ(Setting(L"TempDir"), L"/var/tmp");
    EXPECT_EQ(Setting(L"LogSize"), L"256");
}

TEST_F(InstalledAgentSteps, AConfigurationThatCannotBeLoadedFailsTheRun) {
    m_agent->loads = false;
    m_agent->SetConfPath(L"/opt/old/etc/client.conf");
    EXPECT_EQ(TextOf(MergeInstalledSettings(m_run)),
              L"Missing or unreadable file in install. File: /opt/old/etc/client.conf");
}

TEST_F(InstalledAgentSteps, NothingChanges_WhenNothingCanBeLoaded) {
    m_agent->loads = false;
    Setting(L"Guid") = L"{A}";
    EXPECT_FALSE(MergeInstalledSettings(m_run));
    EXPECT_EQ(Setting(L"Guid"), L"{A}");
    EXPECT_FALSE(m_run.settings->Exists(L"KSName"));
}

TEST_F(InstalledAgentSteps, TheXmlFilesServerWinsAndItsChangeDropsTheIdentifier) {
    m_run.xmlLoaded = true;
    Setting(L"KSName") = L"new.example";
    Setting(L"KSUrlFormat") = L"https://%server%/Zorvane/";
    Stored(L"KSName") = L"old.example";
    Stored(L"KSUrlFormat") = L"http://%server%/Zorvane/";
    Stored(L"Guid") = L"{OLD}";
    EXPECT_TRUE(MergeInstalledSettings(m_run));
    EXPECT_EQ(Setting(L"KSName"), L"new.example");
    EXPECT_EQ(Setting(L"KSUrlFormat"), L"https://%server%/Zorvane/");
    EXPECT_EQ(Setting(L"KSNameChanged"), L"true");
    EXPECT_EQ(Setting(L"Guid"), L"");
}

TEST_F(InstalledAgentSteps, AnIdentifierThatWasGivenIsKept_WhenTheServerChanges) {
    m_run.xmlLoaded = true;
    Setting(L"KSName") = L"new.example";
    Setting(L"Guid") = L"{NEW}";
    Stored(L"KSName") = L"old.example";
    Stored(L"Guid") = L"{OLD}";
    EXPECT_TRUE(MergeInstalledSettings(m_run));
    EXPECT_EQ(Setting(L"Guid"), L"{NEW}");
}

TEST_F(InstalledAgentSteps, TheSameServerByAnotherNameKeepsTheIdentifier) {
    m_run.xmlLoaded = true;
    Setting(L"KSName") = L"ks:8080";
    Stored(L"KSName") = L"KS.example";
    Stored(L"Guid") = L"{OLD}";
    EXPECT_TRUE(MergeInstalledSettings(m_run));
    EXPECT_EQ(Setting(L"KSName"), L"ks:8080");
    EXPECT_FALSE(m_run.settings->IsSet(L"KSNameChanged"));
    EXPECT_EQ(Setting(L"Guid"), L"{OLD}");
}

TEST_F(InstalledAgentSteps, TheEnvironmentsServerYieldsToTheInstalledAgentsAndChangesNothing) {
    Setting(L"KSName") = L"env.example";
    Setting(L"KSUrlFormat") = L"https://%server%/Zorvane/";
    Stored(L"KSName") = L"old.example";
    Stored(L"KSUrlFormat") = L"http://%server%/Zorvane/";
    EXPECT_TRUE(MergeInstalledSettings(m_run));
    EXPECT_EQ(Setting(L"KSName"), L"old.example");
    EXPECT_EQ(Setting(L"KSUrlFormat"), L"http://%server%/Zorvane/");
    EXPECT_FALSE(m_run.settings->IsSet(L"KSNameChanged"));
}

TEST_F(InstalledAgentSteps, TheOldConfigurationIsKeptPrivately) {
    testfiles::Write("/tmp/old.conf", "[Configuration]\nkey=\xe9\n", 0644);
    testfiles::Write("/opt/new/etc/client.conf.old", "older", 0444);
    m_agent->SetConfPath(L"/tmp/old.conf");
    Setting(L"InstallDir") = L"/opt/new";
    EXPECT_TRUE(SaveInstalledConfiguration(m_run));
    EXPECT_EQ(testfiles::Read("/opt/new/etc/client.conf.old"), "[Configuration]\nkey=\xe9\n");
    EXPECT_EQ(testfiles::Mode("/opt/new/etc/client.conf.old"), 0600U);
    EXPECT_EQ(m_agent->ConfPath(), L"/opt/new/etc/client.conf.old");
}

TEST_F(InstalledAgentSteps, TheOldConfigurationIsKeptInADirectoryThatIsMade) {
    testfiles::Write("/tmp/old.conf", "x");
    m_agent->SetConfPath(L"/tmp/old.conf");
    Setting(L"InstallDir") = L"/opt/new/deeper";
    EXPECT_TRUE(SaveInstalledConfiguration(m_run));
    EXPECT_EQ(testfiles::Read("/opt/new/deeper/etc/client.conf.old"), "x");
    EXPECT_EQ(testfiles::Mode("/opt/new/deeper/etc/client.conf.old"), 0600U);
}

TEST_F(InstalledAgentSteps, AnOldConfigurationThatCannotBeKeptFailsTheRun) {
    testfiles::Write("/tmp/old.conf", "x");
    std::filesystem::create_directories("/opt/new/etc/client.conf.old");
    std::filesystem::permissions("/opt/new/etc/client.conf.old", std::filesystem::perms(0711));
    m_agent->SetConfPath(L"/tmp/old.conf");
    Setting(L"InstallDir") = L"/opt/new";
    for (const auto& outcome : {CheckInstalledAgent(m_run), SaveInstalledConfiguration(m_run)}) {
        EXPECT_EQ(TextOf(outcome), L"Unable to write to file: /opt/new/etc/client.conf.old");
        EXPECT_EQ(ReasonOf(outcome), L"/opt/new/etc/client.conf.old: Is a directory");
    }
    EXPECT_EQ(testfiles::Mode("/opt/new/etc/client.conf.old"), 0711U);
    EXPECT_EQ(m_agent->ConfPath(), L"/tmp/old.conf");
}

TEST_F(InstalledAgentSteps, MarksAnUpgradeOnceTheCopyIsThere) {
    testfiles::Write("/tmp/old.conf", "x");
    m_agent->SetConfPath(L"/tmp/old.conf");
    Setting(L"InstallDir") = L"/opt/new";
    EXPECT_TRUE(CheckInstalledAgent(m_run));
    EXPECT_FALSE(testfiles::Exists("/opt/new"));
    EXPECT_TRUE(SaveInstalledConfiguration(m_run));
    EXPECT_EQ(FindUnfinishedRun(L"/opt/new"), Unfinished::Upgrade);
}

TEST_F(InstalledAgentSteps, LeavesTheSavedCopyAlone_WhenTheAgentIsReadFromIt) {
    testfiles::Write("/opt/new/etc/client.conf.old", "the administrator's", 0640);
    testfiles::Write("/opt/new/etc/client.conf", "unfinished");
    m_agent->SetConfPath(L"/opt/new/etc/client.conf.old");
    Setting(L"InstallDir") = L"/opt/new";
    EXPECT_TRUE(SaveInstalledConfiguration(m_run));
    EXPECT_EQ(testfiles::Read("/opt/new/etc/client.conf.old"), "the administrator's");
    EXPECT_EQ(FindUnfinishedRun(L"/opt/new"), Unfinished::Upgrade);
}

TEST_F(InstalledAgentSteps, AConfigurationThatCannotBeReadFailsTheRun) {
    Setting(L"InstallDir") = L"/opt/new";
    const auto expectFailure = [&] {
        for (const auto& outcome : {CheckInstalledAgent(m_run), SaveInstalledConfiguration(m_run)})
            EXPECT_EQ(TextOf(outcome), L"Unable to write to file: /opt/new/etc/client.conf.old");
    };
    m_agent->SetConfPath(L"/opt/gone/client.conf");
    expectFailure();
    m_run.installed = nullptr;
    std::filesystem::create_directories("/opt/new/etc");
    std::filesystem::create_symlink("client.conf", "/opt/new/etc/client.conf");
    expectFailure();
}

TEST_F(InstalledAgentSteps, SaysThatTheSavingIsUnfinished_WhenTheDiskIsFull) {
    const auto disk = testsupport::Mount::Tmpfs("/opt/new", "size=16k");
    testfiles::Write("/tmp/old.conf", std::string(64 << 10, 'x'));
    m_agent->SetConfPath(L"/tmp/old.conf");
    Setting(L"InstallDir") = L"/opt/new";
    const auto saved = SaveInstalledConfiguration(m_run);
    EXPECT_EQ(TextOf(saved), L"Unable to write to file: /opt/new/etc/client.conf.old");
    EXPECT_EQ(ReasonOf(saved), L"/opt/new/etc/client.conf.old: No space left on device");
    EXPECT_FALSE(testfiles::Exists("/opt/new/etc/client.conf.old"));
    EXPECT_EQ(FindUnfinishedRun(L"/opt/new"), Unfinished::Saving);
    EXPECT_EQ(m_agent->ConfPath(), L"/tmp/old.conf");
}

TEST_F(InstalledAgentSteps, AMarkThatCannotBeWrittenFailsTheRun) {
    testfiles::Write("/tmp/old.conf", "x");
    m_agent->SetConfPath(L"/tmp/old.conf");
    Setting(L"InstallDir") = L"/opt/new";
    std::filesystem::create_directories("/opt/new/etc/.unfinished");
    EXPECT_TRUE(TextOf(SaveInstalledConfiguration(m_run)).StartsWith(L"Unable to write to file: "));
}

TEST_F(InstalledAgentSteps, AnUpgradeStaysMarked_WhenItsAgentIsNotFoundAgain) {
    m_run.installed = nullptr;
    Setting(L"InstallDir") = L"/opt/new";
    testfiles::Write("/opt/new/etc/client.conf", "unfinished");
    testfiles::Write("/opt/new/etc/client.conf.old", "the administrator's");
    ASSERT_TRUE(MarkUnfinishedRun(L"/opt/new", Unfinished::Upgrade));
    EXPECT_TRUE(SaveInstalledConfiguration(m_run));
    EXPECT_EQ(testfiles::Read("/opt/new/etc/client.conf.old"), "the administrator's");
    EXPECT_EQ(FindUnfinishedRun(L"/opt/new"), Unfinished::Upgrade);
}

TEST_F(InstalledAgentSteps, AConfigurationThatIsALinkToItsCopyIsNotLost) {
    m_run.installed = nullptr;
    Setting(L"InstallDir") = L"/opt/new";
    testfiles::Write("/opt/new/etc/client.conf.old", "the administrator's");
    std::filesystem::create_symlink("client.conf.old", "/opt/new/etc/client.conf");
    EXPECT_TRUE(SaveInstalledConfiguration(m_run));
    EXPECT_EQ(testfiles::Read("/opt/new/etc/client.conf.old"), "the administrator's");
}

/// What is done with an agent in a directory that an answer names, whose upgrade was not finished.
class TakenUp : public InstalledAgentSteps {
  protected:
    TakenUp() {
        m_run.installed = nullptr;
        WriteSaved("6", "2");
        EXPECT_TRUE(MarkUnfinishedRun(L"/opt/new", Unfinished::Upgrade));
    }
    static void WriteSaved(const std::string& major, const std::string& minor) {
        testfiles::Write("/opt/new/etc/client.conf.old",
                         "[Version]\nagent_major=" + major + "\nagent_minor=" + minor +
                             "\nagent_build=0\n[Kell Servers]\nserver-1=kell.example\n"
                             "[Configuration]\ninstalldir=/opt/new\n");
    }
    /// False when there is nothing to take up, none when that fails.
    std::optional<bool> IsTaken() {
        const auto taken = TakeUpUpgrade(m_run, L"/opt/new", m_unanswered);
        return taken ? std::optional(*taken) : std::nullopt;
    }

    Settings m_unanswered;
};

TEST_F(TakenUp, AnUnfinishedUpgradeGivesItsValues) {
    EXPECT_EQ(IsTaken(), true);
    EXPECT_EQ(m_unanswered.Get(L"KSName"), L"kell.example");
    EXPECT_TRUE(m_unanswered.IsYes(L"Upgrade"));
}

TEST_F(TakenUp, NothingIs_WhileAReinstallIsPending) {
    m_run.reinstall = true;
    EXPECT_EQ(IsTaken(), false);
    EXPECT_FALSE(m_unanswered.IsSet(L"KSName"));
}

TEST_F(TakenUp, NothingIs_WhereTheVersionCannotBeUpgraded) {
    for (const auto& [major, minor] : {std::pair("9", "0"), std::pair("5", "5")}) {
        WriteSaved(major, minor);
        EXPECT_EQ(IsTaken(), false) << major;
        EXPECT_FALSE(m_unanswered.IsSet(L"KSName")) << major;
        EXPECT_FALSE(m_unanswered.IsSet(L"Upgrade")) << major;
        EXPECT_EQ(m_run.installed, nullptr) << major;
    }
}

TEST_F(TakenUp, Fails_WhenTheSavedConfigurationIsTooLarge) {
    std::filesystem::resize_file("/opt/new/etc/client.conf.old", 65 << 20);
    EXPECT_EQ(IsTaken(), std::nullopt);
    EXPECT_FALSE(m_unanswered.IsSet(L"KSName"));
}

TEST_F(InstalledAgentSteps, KeepsAConfigurationThatNobodyRecognised) {
    m_run.installed = nullptr;
    Setting(L"InstallDir") = L"/opt/new";
    testfiles::Write("/opt/new/etc/client.conf", "strange");
    EXPECT_TRUE(SaveInstalledConfiguration(m_run));
    EXPECT_EQ(testfiles::Read("/opt/new/etc/client.conf.old"), "strange");
    EXPECT_EQ(testfiles::Mode("/opt/new/etc/client.conf.old"), 0600U);
    EXPECT_EQ(FindUnfinishedRun(L"/opt/new"), Unfinished::FirstConfiguration);
}

TEST_F(InstalledAgentSteps, KeepsNoConfigurationThatAnUnfinishedRunHasLeft) {
    m_run.installed = nullptr;
    Setting(L"InstallDir") = L"/opt/new";
    testfiles::Write("/opt/new/etc/client.conf", "unfinished");
    testfiles::Write("/opt/new/etc/.unfinished", "first configuration\n");
    EXPECT_TRUE(SaveInstalledConfiguration(m_run));
    EXPECT_FALSE(testfiles::Exists("/opt/new/etc/client.conf.old"));
}

TEST_F(InstalledAgentSteps, KeepsTheConfigurationOfAnAgentWithoutAPathToo) {
    testfiles::Write("/opt/new/etc/client.conf", "strange");
    Setting(L"InstallDir") = L"/opt/new";
    EXPECT_TRUE(SaveInstalledConfiguration(m_run));
    EXPECT_EQ(testfiles::Read("/opt/new/etc/client.conf.old"), "strange");
    EXPECT_TRUE(m_agent->ConfPath().IsEmpty());
}

TEST_F(InstalledAgentSteps, LooksWhetherWhatAnUpgradeChangesCanBeChanged) {
    testfiles::Write("/opt/old/etc/client.conf", "[Configuration]\ninstalldir=/opt/old\nbindir=/opt/links\n");
    testfiles::Write("/opt/links/qdn-monitor", "");
    m_agent->SetConfPath(L"/opt/old/etc/client.conf");
    Setting(L"InstallDir") = L"/opt/new";
    EXPECT_TRUE(CheckInstalledAgent(m_run));
    ASSERT_EQ(mount("/opt/links", "/opt/links", nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(mount(nullptr, "/opt/links", nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
    const auto outcome = CheckInstalledAgent(m_run);
    EXPECT_EQ(umount("/opt/links"), 0);
    EXPECT_EQ(TextOf(outcome), L"Failed to clean old agent files.");
    EXPECT_EQ(ReasonOf(outcome), L"/opt/links/qdn-monitor: Read-only file system");
    std::filesystem::remove_all("/opt/old");
    std::filesystem::remove_all("/opt/links");
}

TEST_F(InstalledAgentSteps, NeitherTheRootNorARelativePathIsTheDirectoryOfAConfigurationThatGoes) {
    for (const char* path : {"/etc/client.conf", "/opt/old/etc/client.conf"}) testfiles::Write(path, "");
    m_agent->SetConfPath(L"/opt/conf");
    Setting(L"InstallDir") = L"/opt/new";
    for (const char* place : {"/etc", "/opt/old"}) {
        ASSERT_EQ(mount(place, place, nullptr, MS_BIND, nullptr), 0);
        ASSERT_EQ(mount(nullptr, place, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
    }
    const auto reasonFor = [&](const std::string& directory) {
        testfiles::Write("/opt/conf", "[Configuration]\ninstalldir=" + directory + "\n");
        return ReasonOf(CheckInstalledAgent(m_run));
    };
    std::filesystem::current_path("/");
    EXPECT_EQ(reasonFor("/opt/old"), L"/opt/old/etc/client.conf: Read-only file system");
    EXPECT_EQ(reasonFor("opt/old"), L"(no failure)");
    EXPECT_EQ(reasonFor("/"), L"(no failure)");
    EXPECT_EQ(umount("/etc"), 0);
    EXPECT_EQ(umount("/opt/old"), 0);
    std::filesystem::remove("/etc/client.conf");
    for (const char* path : {"/opt/old", "/opt/conf"}) std::filesystem::remove_all(path);
}

TEST_F(InstalledAgentSteps, ARegistrationThatStaysFailsTheRun) {
    m_agent->removesIntegration = false;
    EXPECT_EQ(TextOf(RemoveInstalledIntegration(m_run)), L"Failed to clean old agent files.");
    m_agent->upgradeSupported = false;
    EXPECT_TRUE(RemoveInstalledIntegration(m_run));
    m_run.installed = nullptr;
    EXPECT_TRUE(RemoveInstalledIntegration(m_run));
}

TEST_F(InstalledAgentSteps, TheHandOverFilesGo_WhateverTheRemovalSays) {
    for (const char* name : {".reinstall-client.conf", ".migrate-client.conf", ".migrate-config.xml"}) {
        testfiles::Write(std::string("/tmp/ksclt/") + name, "x");
    }
    m_agent->removesFiles = false;
    EXPECT_FALSE(RemoveInstalledFiles(m_run));
    EXPECT_EQ(m_agent->removedFor, L"");
    EXPECT_FALSE(testfiles::Exists("/tmp/ksclt"));
}

TEST_F(InstalledAgentSteps, APlantedHandOverDirectoryIsRemovedWithoutFollowingIt) {
    testfiles::TempDir target;
    testfiles::Write(target / ".migrate-client.conf", "keep");
    ASSERT_EQ(symlink(target.Path().c_str(), "/tmp/ksclt"), 0);
    EXPECT_TRUE(RemoveInstalledFiles(m_run));
    EXPECT_FALSE(testfiles::Exists("/tmp/ksclt"));
    EXPECT_EQ(testfiles::Read(target / ".migrate-client.conf"), "keep");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
