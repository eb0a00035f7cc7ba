// Where an installed agent's configuration is looked for, in which order, and whose file is believed.
#include <cerrno>
#include <gtest/gtest.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "agents/Agent56.h"
#include "agents/Agent60.h"
#include "agents/AgentDetection.h"
#include "agents/AgentVersion.h"
#include "run/Args.h"
#include "run/TrustedFile.h"
#include "tests/support/Captured.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/PrintString.h"
#include "tests/support/ScopedValue.h"
#include "tests/support/StandIn.h"
#include "tests/unit/agents/AgentVersions.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::TempDir;
using testfiles::Write;
using testsupport::Captured;
using testsupport::EnvironmentVariable;
using testsupport::StandIns;

std::unique_ptr<Agent> AgentOf(const std::string& conf) {
    return AgentFromConfigFile(TrustedFile(String::FromUtf8(conf), ChosenBy::Administrator));
}

TEST(AgentFromConfigFile, HasItsFileAndItsDirectory) {
    const TempDir dir;
    Write(dir / "client.conf", ConfOf("6", "0", "250"));
    const auto agent = AgentOf(dir / "client.conf");
    ASSERT_TRUE(Is<Agent60>(agent));
    EXPECT_EQ(agent->VersionLabel(), L"6.0SP1");
    EXPECT_EQ(agent->InstallDir(), L"/opt/60250");
    EXPECT_EQ(agent->ConfPath().Utf8(), dir / "client.conf");
}

TEST(AgentFromConfigFile, KeepsWhatItsFileSaid_WhenTheFileChanges) {
    const TempDir dir;
    Write(dir / "client.conf", ConfOf("6", "0", "250") + "[Kell Servers]\nserver-1=kell.example\n");
    const auto agent = AgentOf(dir / "client.conf");
    ASSERT_NE(agent, nullptr);
    Write(dir / "client.conf", "[Kell Servers]\nserver-1=evil.example\n");
    EXPECT_EQ((*agent->LoadSettings())->Get(L"KSName"), L"kell.example");
    EXPECT_NE(agent->ReadConf().value().find("kell.example"), std::string::npos);
}

TEST(AgentFromConfigFile, IsOfVersion56_WhenItsFileStatesNone) {
    const TempDir dir;
    Write(dir / "client.conf", "[Configuration]\nInstallDir=/opt/agent\n");
    const auto agent = AgentOf(dir / "client.conf");
    ASSERT_TRUE(Is<Agent56>(agent));
    EXPECT_EQ(agent->VersionLabel(), L"5.6");
    EXPECT_EQ(agent->InstallDir(), L"/opt/agent");
}

TEST(AgentFromConfigFile, IsNull_WhenItsFileCannotBeRead) {
    const TempDir dir;
    std::filesystem::create_directory(dir / "directory");
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    Write(dir / "unknown", ConfOf("6", "0", "400"));
    for (const char* name : {"absent", "directory", "fifo", "unknown"})
        EXPECT_EQ(AgentOf(dir / name), nullptr) << name;
    EXPECT_EQ(AgentOf(""), nullptr);
}

TEST(AgentFromBaseDir, IsTheAgentOfTheClientConfBelowIt) {
    const TempDir dir;
    Write(dir / "etc/client.conf", ConfOf("6", "2", "1378"));
    const auto agent = AgentFromBaseDir(String::FromUtf8(dir.Path()));
    ASSERT_TRUE(Is<Agent62>(agent));
    EXPECT_EQ(agent->ConfPath().Utf8(), dir / "etc/client.conf");
    EXPECT_EQ(AgentFromBaseDir(String::FromUtf8(dir / "etc")), nullptr);
    EXPECT_EQ(AgentFromBaseDir(L""), nullptr);
}

TEST(AgentFromBaseDir, IsNull_WhenOthersMayHaveWrittenTheFile) {
    const TempDir dir;
    const std::string conf = dir / "etc/client.conf";
    Write(conf, ConfOf("6", "2", "1378"), 0646);
    std::filesystem::permissions(dir / "etc", std::filesystem::perms(01777));
    std::unique_ptr<Agent> agent;
    const auto find = [&] { agent = AgentFromBaseDir(String::FromUtf8(dir.Path())); };
    EXPECT_EQ(Captured(find).err, "WARNING! " + conf + " is not used: other users can write to it.\n");
    EXPECT_EQ(agent, nullptr);

    std::filesystem::permissions(conf, std::filesystem::perms(0644));
    EXPECT_EQ(Captured(find).err, "");
    EXPECT_NE(agent, nullptr);
}

TEST(AgentFromBaseDir, IsNullWithoutAWord_WhenItsFileGoesMeanwhile) {
    const TempDir dir;
    const std::string conf = dir / "etc/client.conf";
    for (int at = 1; at <= 8; ++at) {
        SCOPED_TRACE(at);
        Write(conf, ConfOf("6", "2", "1378"));
        const auto output = Captured([&] {
            testsupport::InChild([&] {
                testsupport::JudgeCalls({SYS_openat, SYS_openat2, SYS_newfstatat},
                                        [&, count = 0](const seccomp_notif&) mutable -> testsupport::Verdict {
                                            if (++count == at) std::filesystem::remove(conf);
                                            return std::nullopt;
                                        });
                static_cast<void>(AgentFromBaseDir(String::FromUtf8(dir.Path())));
                corekit::Console::Flush();
                return 0;
            });
        });
        EXPECT_EQ(output.err, "");
    }
}

TEST(AgentFromBaseDir, FailsEveryOperation_WhenTheFileIsTooLarge) {
    const TempDir dir;
    const std::string conf = dir / "etc/client.conf";
    for (const std::string& more : {std::string(65 << 20, '\n'), "#" + std::string(1 << 20, 'x') + "\n"}) {
        Write(conf, ConfOf("6", "2", "1378") + more);
        const auto agent = AgentFromBaseDir(String::FromUtf8(dir.Path()));
        ASSERT_NE(agent, nullptr);
        const auto cleaned = agent->Clean();
        ASSERT_FALSE(cleaned);
        EXPECT_EQ(cleaned.error().text.Utf8(), "Missing or unreadable file in install. File: " + conf);
        EXPECT_EQ(cleaned.error().reason.Utf8(), conf + ": File too large");
    }
    EXPECT_TRUE(testfiles::Exists(conf));
}

TEST(AgentFromBaseDir, WarnsOfNothing_WhenThereIsNoFile) {
    EXPECT_EQ(Captured([] { EXPECT_EQ(AgentFromBaseDir(L"/opt/nowhere"), nullptr); }).err, "");
    EXPECT_EQ(Captured([] { EXPECT_EQ(AgentFromBaseDir(L"/tmp"), nullptr); }).err, "");
}

constexpr const char* kDefault = "/opt/zorvane/kell/ksagent/etc/client.conf";
constexpr const char* kMigrate = "/tmp/ksclt/.migrate-client.conf";
constexpr const char* kReinstall = "/tmp/ksclt/.reinstall-client.conf";
constexpr const char* kInventory = "/etc/qdn-invsoln/master.cfg";

/// A host without an agent; its rpm prints what a test has it print.
class InstalledAgent : public testing::Test {
  protected:
    InstalledAgent() { Clear(); }
    ~InstalledAgent() override { Clear(); }

    static void Clear() {
        for (const char* tree : {"/opt/zorvane", "/opt/package", "/tmp/ksclt", "/etc/qdn-invsoln"})
            std::filesystem::remove_all(tree);
    }

    /// Lays a file down that tells by its build number which one it is.
    static void Lay(const std::string& path, int build, unsigned mode = 0644) {
        Write(path, ConfOf("6", "0", std::to_string(build)), mode);
    }

    void HavePackage(const std::string& directory) {
        m_tools.Add("rpm", "echo " + directory + "/bin\necho " + directory + "/etc/client.proto");
    }

    /// The install directory of the agent that is found, which names the file it was found by.
    static std::string Found() {
        const auto agent = FindInstalledAgent();
        return agent ? agent->InstallDir().Utf8() : "none";
    }

    StandIns m_tools{testsupport::HostPrograms::TextTools};
    EnvironmentVariable m_variable{"QDNCLIENT_CONFIG_FILE", std::nullopt};
};

TEST_F(InstalledAgent, IsLookedForInTheOrderOfTheCandidates) {
    HavePackage("/opt/package");
    const TempDir dir;
    const EnvironmentVariable variable("QDNCLIENT_CONFIG_FILE", dir / "client.conf");
    EXPECT_EQ(Found(), "/opt/package");  // no file: a package that nobody understands

    Lay("/opt/package/etc/client.conf", 5);
    EXPECT_EQ(Found(), "/opt/605");
    Lay(kInventory, 4);
    EXPECT_EQ(Found(), "/opt/604");
    Lay(kReinstall, 3);
    EXPECT_EQ(Found(), "/opt/603");
    Lay(kMigrate, 2);
    EXPECT_EQ(Found(), "/opt/602");
    Lay(kDefault, 1);
    EXPECT_EQ(Found(), "/opt/601");
    Lay(dir / "client.conf", 0);
    EXPECT_EQ(Found(), "/opt/600");
}

TEST_F(InstalledAgent, IsWhatTheSavedCopySays_WhileAnUpgradeIsUnfinished) {
    const std::string usual = "/opt/zorvane/kell/ksagent";
    const EnvironmentVariable variable("QDNCLIENT_CONFIG_FILE", kDefault);
    Lay(kDefault, 1);
    Lay(usual + "/etc/client.conf.old", 6, 0444);
    EXPECT_EQ(Found(), "/opt/601");
    Write(usual + "/etc/.unfinished", "saving\n");
    EXPECT_EQ(Found(), "/opt/601");
    Write(usual + "/etc/.unfinished", "upgrade\n");
    EXPECT_EQ(Found(), "/opt/606");
    std::filesystem::remove(kDefault);
    EXPECT_EQ(Found(), "/opt/606");
}

TEST_F(InstalledAgent, IsNull_WhileAFirstConfigurationIsUnfinished) {
    const EnvironmentVariable variable("QDNCLIENT_CONFIG_FILE", kDefault);
    Lay(kDefault, 1);
    Write("/opt/zorvane/kell/ksagent/etc/.unfinished", "first configuration\n");
    EXPECT_EQ(Found(), "none");
}

TEST_F(InstalledAgent, IsAlsoLookedForBelowOtherDirectories_WhereAnUpgradeIsUnfinished) {
    const TempDir dir;
    const auto found = [&] {
        const auto agent = FindInstalledAgent({String(), String::FromUtf8(dir.Path())});
        return agent ? agent->InstallDir().Utf8() : "none";
    };
    Lay(dir / "etc/client.conf", 1);
    Lay(dir / "etc/client.conf.old", 2);
    EXPECT_EQ(found(), "none");
    Write(dir / "etc/.unfinished", "first configuration");
    EXPECT_EQ(found(), "none");
    Write(dir / "etc/.unfinished", "upgrade");
    EXPECT_EQ(found(), "/opt/602");
    Lay(kDefault, 3);
    EXPECT_EQ(found(), "/opt/603");
}

TEST(AgentFromBaseDir, IsFoundByTheSavedCopy_WhenAnUnfinishedUpgradeHasLeftNoOther) {
    const TempDir dir;
    Write(dir / "etc/client.conf.old", ConfOf("6", "0", "2"));
    EXPECT_EQ(AgentFromBaseDir(String::FromUtf8(dir.Path())), nullptr);
    Write(dir / "etc/.unfinished", "upgrade");
    EXPECT_NE(AgentFromBaseDir(String::FromUtf8(dir.Path())), nullptr);
}

TEST_F(InstalledAgent, IsNull_WhenThereIsNone) {
    EXPECT_EQ(FindInstalledAgent(), nullptr);
    m_tools.Add("rpm", "echo package qdn-ksclt is not installed");
    EXPECT_EQ(FindInstalledAgent(), nullptr);
}

TEST_F(InstalledAgent, IsNotLookedForByAnEmptyVariable) {
    const EnvironmentVariable variable("QDNCLIENT_CONFIG_FILE", "");
    Lay(kDefault, 1);
    EXPECT_EQ(Found(), "/opt/601");
}

TEST_F(InstalledAgent, IsDecidedByTheFirstFileThatExists) {
    Write(kDefault, ConfOf("6", "0", "400"));
    Lay(kMigrate, 2);
    EXPECT_EQ(FindInstalledAgent(), nullptr);

    HavePackage("/opt/package");
    const auto agent = FindInstalledAgent();
    ASSERT_TRUE(Is<UnsupportedAgent>(agent));
    EXPECT_EQ(agent->VersionLabel(), L"");
    EXPECT_EQ(agent->InstallDir(), L"/opt/package");
    EXPECT_EQ(agent->ConfPath(), L"");
}

// Else the administrator's values would give way to defaults, and a clean would report what is there as gone.
TEST_F(InstalledAgent, IsNeitherPassedOverNorTouched_WhenItsFileCannotBeRead) {
    Lay(kDefault, 1);
    Lay(kMigrate, 2);
    for (const int call : {SYS_newfstatat, SYS_openat2, SYS_openat, SYS_read}) {
        const int verdict = testsupport::WithFailing({{call, EIO}}, [] {
            const auto agent = FindInstalledAgent();
            if (!Is<UnreadableAgent>(agent)) return 1;
            const bool fails = !agent->LoadSettings() && !agent->RemoveSystemIntegration() &&
                               !agent->RemoveFiles(L"") && !agent->Clean();
            const String told = L"Missing or unreadable file in install. File: ";
            return fails && agent->Clean().error().text == told + String::FromUtf8(kDefault) ? 0 : 2;
        });
        EXPECT_EQ(verdict, 0) << call;
    }
    EXPECT_EQ(Found(), "/opt/601");
}

TEST_F(InstalledAgent, IsNeitherFoundNorPassedOver_WhereAClientConfIsKeptForDataAndItsMarkCannotBeRead) {
    Lay(kDefault, 1);
    Write(std::filesystem::path(kDefault).parent_path() / ".moved", "/opt/new\n");
    const auto find = [] {
        const auto agent = FindInstalledAgent();
        return Is<UnreadableAgent>(agent) ? 1 : agent ? 2 : 0;
    };
    const std::vector<int> calls = {SYS_read, SYS_openat, SYS_fstat};
    const auto check = [](int result) { EXPECT_EQ(result, 1); };
    EXPECT_GE(testsupport::FailInTurn(
                  calls, EIO, [] {}, find, check),
              2);
}

TEST_F(InstalledAgent, IsNotSupported_WhenItIsThatOfTheInventorySolution) {
    Write(kInventory, "[Configuration]\ninstalldir=/opt/inventory\n");
    const auto agent = FindInstalledAgent();
    ASSERT_TRUE(Is<UnsupportedAgent>(agent));
    EXPECT_EQ(agent->VersionLabel(), L"5.5");
    EXPECT_EQ(agent->ConfPath().Utf8(), kInventory);
}

TEST_F(InstalledAgent, IsAskedOfThePackageManagerOnce) {
    HavePackage("/opt//package");
    EXPECT_EQ(Found(), "/opt/package");
    EXPECT_EQ(m_tools.Calls(), "rpm -q -l qdn-ksclt\n");
}

TEST_F(InstalledAgent, IsNotAskedOfThePackageManagerWithoutASearch) {
    const testsupport::ScopedValue noSearch(Args::bNoSearch, true);
    HavePackage("/opt/package");
    EXPECT_EQ(FindInstalledAgent(), nullptr);
    Lay("/opt/package/etc/client.conf", 5);
    EXPECT_EQ(FindInstalledAgent(), nullptr);
    Lay(kDefault, 1);
    EXPECT_EQ(Found(), "/opt/601");
    EXPECT_EQ(m_tools.Calls(), "");
}

TEST_F(InstalledAgent, IsNotLookedForWithoutAPackageManager) {
    // Were the query run without the program's path, the shell would complain.
    const auto output = Captured([] { EXPECT_EQ(FindInstalledAgent(), nullptr); });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
}

TEST_F(InstalledAgent, IsNotTakenFromAFileThatOthersCouldHaveMade) {
    Lay(kMigrate, 2);
    std::filesystem::permissions(kMigrate, std::filesystem::perms(0666));
    Lay(kReinstall, 3);
    const auto output = Captured([] { EXPECT_EQ(Found(), "/opt/603"); });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err,
              "WARNING! /tmp/ksclt/.migrate-client.conf is not used: other users can write to it.\n");
}

// Another agent's would be upgraded, or cleaned, in its place.
TEST_F(InstalledAgent, IsNoOther_WhereRootsOwnFileCannotBeRead) {
    Lay(kInventory, 4);
    Lay(kDefault, 1);
    testsupport::InChild([] {
        testsupport::JudgeCalls({SYS_openat}, [](const seccomp_notif& call) -> testsupport::Verdict {
            const std::string_view name = reinterpret_cast<const char*>(call.data.args[1]);
            return name == "client.conf" ? testsupport::Verdict(-EIO) : std::nullopt;
        });
        const auto agent = FindInstalledAgent();
        const auto cleaned = agent ? agent->Clean() : Outcome<>();
        EXPECT_EQ(cleaned ? L"" : cleaned.error().reason,
                  String::FromUtf8(kDefault) + L": Input/output error");
        return 0;
    });
    EXPECT_EQ(Found(), "/opt/601");
}

// Else whoever can make the file could block every run.
TEST_F(InstalledAgent, IsNotTakenFromAHandOverFileThatCannotBeRead) {
    Lay(kReinstall, 3);
    const auto output = Captured([] {
        testsupport::WithFailing({{SYS_openat, EACCES}}, [] {
            EXPECT_EQ(FindInstalledAgent(), nullptr);
            corekit::Console::Flush();
            return 0;
        });
    });
    EXPECT_EQ(output.err, "WARNING! /tmp/ksclt/.reinstall-client.conf is not used: Permission denied.\n");
}

TEST_F(InstalledAgent, IsNotTakenFromALinkThatOthersCouldHaveMade) {
    Lay("/opt/package/client.conf", 9);
    std::filesystem::create_directories("/tmp/ksclt");
    std::filesystem::create_symlink("/opt/package/client.conf", kReinstall);
    const auto output = Captured([] { EXPECT_EQ(FindInstalledAgent(), nullptr); });
    EXPECT_EQ(output.err,
              "WARNING! /tmp/ksclt/.reinstall-client.conf is not used: it is not a regular file.\n");
}

TEST_F(InstalledAgent, IsWarnedOfOnce_WhereItsPackageLiesAtTheUsualPlace) {
    HavePackage("/opt/zorvane/kell/ksagent");
    Lay(kDefault, 1);
    std::filesystem::permissions(kDefault, std::filesystem::perms(0666));
    std::filesystem::permissions("/opt/zorvane/kell/ksagent/etc", std::filesystem::perms(0777));
    const auto output = Captured([] { EXPECT_TRUE(Is<UnsupportedAgent>(FindInstalledAgent())); });
    EXPECT_EQ(
        output.err,
        "WARNING! /opt/zorvane/kell/ksagent/etc/client.conf is not used: other users can write to it.\n");
}

TEST_F(InstalledAgent, IsWarnedOfOnce_WhereTheVariableNamesAKnownPlace) {
    const EnvironmentVariable variable("QDNCLIENT_CONFIG_FILE", kMigrate);
    Lay(kMigrate, 2);
    std::filesystem::permissions(kMigrate, std::filesystem::perms(0666));
    const auto output = Captured([] { EXPECT_EQ(FindInstalledAgent(), nullptr); });
    EXPECT_EQ(output.err,
              "WARNING! /tmp/ksclt/.migrate-client.conf is not used: other users can write to it.\n");
}

TEST_F(InstalledAgent, IsTakenFromTheDirectoryOfAnother_WhenTheAdministratorNamesIt) {
    const TempDir dir;
    std::string conf = dir / "client.conf";
    Lay(conf, 7);
    // In a machine that has no other users, a file of the kernel's looks like another's.
    if (chown(dir.Path().c_str(), 12345, 12345) != 0 || chown(conf.c_str(), 12345, 12345) != 0)
        conf = "/proc/sys/kernel/hostname";
    ASSERT_NE(TrustedFile(String::FromUtf8(conf), ChosenBy::Program).WhyNot(), L"");

    const EnvironmentVariable variable("QDNCLIENT_CONFIG_FILE", conf);
    const auto output = Captured([&] {
        const auto agent = FindInstalledAgent();
        ASSERT_NE(agent, nullptr);
        EXPECT_EQ(agent->ConfPath().Utf8(), conf);
    });
    EXPECT_EQ(output.err, "");
}

TEST_F(InstalledAgent, IsCreatedInTheDirectoryOfItsPackage) {
    HavePackage("/opt/package");
    const auto agent = CreateCurrentAgent();
    ASSERT_TRUE(Is<CurrentAgent>(agent));
    EXPECT_EQ(agent->VersionLabel(), L"6.0SP2");
    EXPECT_EQ(agent->InstallDir(), L"/opt/package");
    EXPECT_EQ(agent->ConfPath(), L"");
    EXPECT_EQ(m_tools.Calls(), "rpm -q -l qdn-ksclt\n");
}

TEST_F(InstalledAgent, IsCreatedWithoutADirectory_WhenThePackageManagerMayNotBeAsked) {
    HavePackage("/opt/package");
    {
        const testsupport::ScopedValue noSearch(Args::bNoSearch, true);
        EXPECT_EQ(CreateCurrentAgent()->InstallDir(), L"");
    }
    EXPECT_EQ(m_tools.Calls(), "");
    m_tools.Remove("rpm");
    EXPECT_EQ(CreateCurrentAgent()->InstallDir(), L"");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
