// Writing the new client.conf into its hand-over file: when values are carried, and what is left on failure.
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include "config/ClientConf.h"
#include "corekit/ini/IniFile.h"
#include "settings/XmlConfig.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;

constexpr const char* kMigrating = "Migrating Agent 6.0SP1 settings...\n";
constexpr const char* kCreating = "Creating/customizing Agent's configuration file.\n";

constexpr const char* kTemplate =
    "# The agent's configuration.\n"
    "[Kell Servers]\nserver-1=%KSNAME%\n"
    "[Configuration]\ninstalldir=%INSTDIR%\nuse_https=template\n"
    "[Event Queue]\nlevel1-retries=3\n";

/// A new agent in /opt/new and the client.conf of an old one in /opt/old.
class Migration : public testing::Test {
  protected:
    Migration() {
        m_settings->Value(L"InstallDir") = L"/opt/new";
        m_settings->Value(L"KSName") = L"srv";
        testfiles::Write("/opt/new/etc/client.proto", kTemplate);
        WriteOld("[Configuration]\nuse_https=old\n");
    }
    ~Migration() override {
        std::filesystem::remove_all("/opt/new");
        std::filesystem::remove_all("/opt/old");
    }

    static void WriteOld(const std::string& content) {
        testfiles::Write("/opt/old/etc/client.conf", content);
    }

    /// Migrates, which says nothing, and returns what is to be said.
    std::string Migrate(const InstalledConfiguration* installed) {
        const auto output =
            testsupport::Captured([&] { m_result = MigrateSettings(m_handOver, installed, *m_settings); });
        EXPECT_EQ(output.out + output.err, "");
        return m_result ? m_result->Utf8() : std::string();
    }
    String Text() const { return m_result ? String(L"(no failure)") : m_result.error().text; }
    String Written(const wchar_t* section, const wchar_t* key) const {
        String value = L"(no such key)";
        IniFile(m_handOver.Path()).GetValue(section, key, value);
        return value;
    }
    static std::size_t HandOverFiles() {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/tmp"))
            count += entry.path().filename().string().starts_with(".zorvane-agent-installer") ? 1 : 0;
        return count;
    }

    const InstalledConfiguration m_installed{L"6.0SP1", L"/opt/old/etc/client.conf", true};
    std::unique_ptr<Settings> m_settings = DefaultSettings();
    HandOverFile m_handOver;
    Outcome<String> m_result;
};

TEST_F(Migration, WithoutAnInstalledAgentTheFileComesFromTheTemplate) {
    EXPECT_EQ(Migrate(nullptr), kCreating);
    ASSERT_TRUE(m_result);
    EXPECT_EQ(testfiles::Mode(m_handOver.Path().Utf8()), 0600U);
    EXPECT_EQ(Written(L"Kell Servers", L"server-1"), L"srv");
    EXPECT_EQ(Written(L"Configuration", L"installdir"), L"/opt/new");
    EXPECT_EQ(Written(L"Configuration", L"use_https"), L"template");
    EXPECT_EQ(Written(L"Configuration", L"tmpdir"), L"/tmp");
}

TEST_F(Migration, FailsWithoutAPlaceForTheHandOverFile) {
    ASSERT_EQ(mount("none", "/tmp", "tmpfs", MS_RDONLY, nullptr), 0);
    m_result = MigrateSettings(m_handOver, &m_installed, *m_settings);
    ASSERT_EQ(umount("/tmp"), 0);
    EXPECT_EQ(Text(), L"Failed to create migration config file: Read-only file system");
}

TEST_F(Migration, AnInstalledAgentsValuesAreCarried) {
    EXPECT_EQ(Migrate(&m_installed), kMigrating);
    ASSERT_TRUE(m_result);
    EXPECT_EQ(Written(L"Configuration", L"use_https"), L"old");
    EXPECT_EQ(Written(L"Configuration", L"installdir"), L"/opt/new");
}

TEST_F(Migration, ValuesAreCarried_WhenTheUpgradeIsNotSet) {
    m_settings->Value(L"Upgrade") = L"";
    EXPECT_EQ(Migrate(&m_installed), kMigrating);
    EXPECT_EQ(Written(L"Configuration", L"use_https"), L"old");
}

TEST_F(Migration, ValuesAreCarried_WhenTheUpgradeIsAbsent) {
    Settings bare;
    bare.Value(L"InstallDir") = L"/opt/new";
    *m_settings = bare;
    EXPECT_EQ(Migrate(&m_installed), kMigrating);
    EXPECT_EQ(Written(L"Configuration", L"use_https"), L"old");
}

TEST_F(Migration, NothingIsCarried_WhenTheUpgradeIsDeclined) {
    m_settings->Value(L"Upgrade") = L"no";
    EXPECT_EQ(Migrate(&m_installed), kCreating);
    ASSERT_TRUE(m_result);
    EXPECT_EQ(Written(L"Configuration", L"use_https"), L"template");
}

TEST_F(Migration, AMisspelledUpgradeIsAnnouncedButTheFileIsNew) {
    for (const wchar_t* upgrade : {L"No", L"NO", L"YES", L"true", L" no"}) {
        SCOPED_TRACE(String(upgrade).Utf8());
        m_settings->Value(L"Upgrade") = upgrade;
        EXPECT_EQ(Migrate(&m_installed), std::string(kMigrating) + kCreating);
        EXPECT_EQ(Written(L"Configuration", L"use_https"), L"template");
    }
}

TEST_F(Migration, ShowsTheVersionPrintably) {
    const InstalledConfiguration strange{L"\u00f6\x1b", L"/opt/old/etc/client.conf", false};
    EXPECT_EQ(Migrate(&strange), "Migrating Agent \xc3\xb6\\x1b settings...\n");
}

TEST_F(Migration, AnOldFileThatIsGoneCarriesNothing) {
    std::filesystem::remove("/opt/old/etc/client.conf");
    EXPECT_EQ(Migrate(&m_installed), kMigrating);
    ASSERT_TRUE(m_result);
    EXPECT_EQ(Written(L"Configuration", L"use_https"), L"template");
}

TEST_F(Migration, TheMisspelledKeyOfAnOlderAgentWins) {
    WriteOld("[Event Queue]\nlevel1-retrys=7\nlevel1-retries=5\nlevel2-retries=6\nlevel3-retrys=8\n");
    Migrate(&m_installed);
    EXPECT_EQ(Written(L"Event Queue", L"level1-retries"), L"7");
    EXPECT_EQ(Written(L"Event Queue", L"level2-retries"), L"6");
    EXPECT_EQ(Written(L"Event Queue", L"level3-retries"), L"8");
    EXPECT_EQ(Written(L"Event Queue", L"level1-retrys"), L"(no such key)");
}

TEST_F(Migration, PathsMoveToTheNewInstallDirectory) {
    WriteOld("[Configuration]\ninstalldir=/opt/old\ntmpdir=/opt/old/tmp\nswd_storage_path=/data/swd\n");
    Migrate(&m_installed);
    EXPECT_EQ(Written(L"Configuration", L"tmpdir"), L"/opt/new/tmp");
    EXPECT_EQ(m_settings->Get(L"TempDir"), L"/opt/new/tmp");
    EXPECT_EQ(Written(L"Configuration", L"swd_storage_path"), L"/data/swd");
    EXPECT_EQ(m_settings->Get(L"SWDDir"), L"/data/swd");
}

TEST_F(Migration, OddValuesAreCarriedByteForByte) {
    const std::string values[] = {
        "a=b == c",
        "two  words\tand a tab",
        "K\xf6ln",
        "K\xc3\xb6ln \xe2\x82\xac",
        "# no comment",
        "\"quoted\"",
        "%INSTDIR%/as it is",
        "\xff\xfe\x80",
        std::string((1 << 20) - 100, 'x'),
    };
    for (const std::string& value : values) {
        for (const std::string lineEnd : {"\n", "\r\n", " \t\n", ""}) {
            SCOPED_TRACE(value.substr(0, 40) + " before a line end of " + std::to_string(lineEnd.size()));
            WriteOld("[Configuration]" + (lineEnd.empty() ? "\n" : lineEnd) + "use_https = " + value +
                     lineEnd);
            Migrate(&m_installed);
            ASSERT_TRUE(m_result);
            const std::string written = testfiles::Read(m_handOver.Path().Utf8());
            EXPECT_NE(written.find("\nuse_https=" + value + "\n"), std::string::npos);
            EXPECT_EQ(written.find('\r'), std::string::npos);
        }
    }
}

TEST_F(Migration, AnEmptyOldValueClearsItsSetting) {
    WriteOld("[Client Transport]\nssl_ca_info=\n");
    m_settings->Value(L"CAInfo") = L"/etc/ca.pem";
    Migrate(&m_installed);
    EXPECT_TRUE(m_settings->Exists(L"CAInfo"));
    EXPECT_EQ(m_settings->Get(L"CAInfo"), L"");
    EXPECT_EQ(Written(L"Client Transport", L"ssl_ca_info"), L"");
}

TEST_F(Migration, AnswersOfTheOperatorStand) {
    WriteOld(
        "[Configuration]\ntmpdir=/old/tmp\nbindir=/old/bin\nevent_queue_dir=/old/queue\n"
        "task_storage_path=/old/tasks\npackage_storage_path=/old/packages\nswd_storage_path=/old/swd\n"
        "[Client Details]\nserialnumber=123\n");
    m_settings->Value(L"IsInteractive") = L"yes";
    m_settings->Value(L"TempDir") = L"/my/tmp";
    m_settings->Value(L"BinDir") = L"/my/bin";
    m_settings->Value(L"EventQueueDir") = L"/my/queue";
    m_settings->Value(L"TasksDir") = L"/my/tasks";
    m_settings->Value(L"PackagesDir") = L"/my/packages";
    m_settings->Value(L"SWDDir") = L"/my/swd";
    Migrate(&m_installed);
    EXPECT_EQ(Written(L"Configuration", L"tmpdir"), L"/my/tmp");
    EXPECT_EQ(Written(L"Configuration", L"bindir"), L"/my/bin");
    EXPECT_EQ(Written(L"Configuration", L"event_queue_dir"), L"/my/queue");
    EXPECT_EQ(Written(L"Configuration", L"task_storage_path"), L"/my/tasks");
    EXPECT_EQ(Written(L"Configuration", L"package_storage_path"), L"/old/packages");
    EXPECT_EQ(Written(L"Configuration", L"swd_storage_path"), L"/old/swd");
    EXPECT_EQ(Written(L"Client Details", L"SerialNumber"), L"123");
}

TEST_F(Migration, OnlyACompletedQuestionnaireProtectsSettings) {
    WriteOld("[Configuration]\ntmpdir=/old/tmp\n");
    m_settings->Value(L"IsInteractive") = L"no";
    m_settings->Value(L"TempDir") = L"/my/tmp";
    Migrate(&m_installed);
    EXPECT_EQ(Written(L"Configuration", L"tmpdir"), L"/old/tmp");
}

TEST_F(Migration, AMissingTemplateLeavesNoFile) {
    std::filesystem::remove("/opt/new/etc/client.proto");
    EXPECT_EQ(Migrate(&m_installed), "");
    EXPECT_FALSE(m_result);
    EXPECT_EQ(Text(), L"Missing file in install. File:/opt/new/etc/client.proto");
    EXPECT_EQ(m_handOver.Path(), L"");
    EXPECT_EQ(HandOverFiles(), 0U);
}

TEST_F(Migration, AnEmptyTemplateLeavesNoFile) {
    testfiles::Write("/opt/new/etc/client.proto", "");
    Migrate(&m_installed);
    EXPECT_FALSE(m_result);
    EXPECT_EQ(Text(), L"Missing or unreadable file in install. File: /opt/new/etc/client.proto");
    EXPECT_EQ(HandOverFiles(), 0U);
    Migrate(nullptr);
    EXPECT_FALSE(m_result);
    EXPECT_EQ(Text(), L"Missing or unreadable file in install. File:/opt/new/etc/client.proto");
    EXPECT_EQ(HandOverFiles(), 0U);
}

TEST_F(Migration, ASecondCallRemovesTheFileOfTheFirst) {
    Migrate(&m_installed);
    const String first = m_handOver.Path();
    Migrate(&m_installed);
    ASSERT_TRUE(m_result);
    EXPECT_NE(m_handOver.Path(), first);
    EXPECT_EQ(HandOverFiles(), 1U);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
