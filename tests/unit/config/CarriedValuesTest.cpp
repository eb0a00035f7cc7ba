// The values that the new client.conf takes over from an installed agent's: every row of the key table.
#include <gtest/gtest.h>
#include <map>

#include "config/ClientConfDraft.h"
#include "settings/ClientConfKeyMap.h"
#include "settings/Questionnaire.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;

class CarryValues : public testing::Test {
  protected:
    CarryValues() { m_settings.Value(L"InstallDir") = L"/opt/new"; }

    void Carry(const std::string& oldText) {
        testfiles::Write(m_dir / "old", oldText);
        const IniFile oldIni(String::FromUtf8(m_dir / "old"), IniFile::KeyCase::FallBack);
        CarryOldValues(oldIni, m_new, m_settings);
    }
    String New(const String& section, const String& key) {
        String value = L"(missing)";
        m_new.File().GetValue(section, key, value);
        return value;
    }

    testfiles::TempDir m_dir;
    ClientConfDraft m_new{L"/tmp/no such file"};
    Settings m_settings;
};

enum class Spelling { AsWritten, LowerCase };

/// An old file with an entry for every row of the table, whose value is the row's number; paths lie below
/// the old install directory.
std::string FileOfAllRows(Spelling spelling) {
    std::string text = "[Configuration]\ninstalldir=/opt/old\n";
    int number = 0;
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        const String written = row.oldKey.key;
        const String key = spelling == Spelling::LowerCase ? written.Lower() : written;
        text += "[" + String(row.oldKey.section).Utf8() + "]\n" + key.Utf8() + "=" +
                (row.isPath ? "/opt/old/" : "") + std::to_string(++number) + "\n";
    }
    return text;
}

class EveryRow : public CarryValues, public testing::WithParamInterface<Spelling> {};

TEST_P(EveryRow, IsCarriedToItsKeyAndItsSettingAndTheLaterOfTwoWins) {
    Carry(FileOfAllRows(GetParam()));
    std::map<ConfKey, String> expected;
    int number = 0;
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        SCOPED_TRACE(String(row.newKey.key).Utf8());
        const String value = String(row.isPath ? L"/opt/new/" : L"") + String::FromInt(++number);
        expected[row.newKey] = value;
        EXPECT_EQ(m_settings.Get(row.setting), row.setting.IsNone() ? String() : value);
    }
    for (const auto& [to, value] : expected) {
        EXPECT_EQ(New(to.section, to.key), value) << String(to.key).Utf8();
    }
    EXPECT_EQ(expected.size(), 102U);
    EXPECT_EQ(New(L"Event Queue", L"level1-retries"), L"61");
    EXPECT_EQ(New(L"Event Queue", L"level5-retries"), L"65");
    EXPECT_EQ(New(L"Client Transport", L"transport_timeout"), L"107");
    EXPECT_EQ(New(L"SWD", L"swd_temporary_dir"), L"109");
    EXPECT_EQ(New(L"Event Queue", L"level1-retrys"), L"(missing)");
    EXPECT_EQ(New(L"Configuration", L"transport_timeout"), L"(missing)");
    EXPECT_EQ(New(L"Configuration", L"installdir"), L"(missing)");
}

INSTANTIATE_TEST_SUITE_P(CarryValues, EveryRow, testing::Values(Spelling::AsWritten, Spelling::LowerCase));

TEST_F(CarryValues, AMissingEntryChangesNothing) {
    m_settings.Value(L"TempDir") = L"/tmp";
    m_new.Set(L"Configuration", L"tmpdir", L"/template", Source());
    Carry("[Configuration]\nother=1\n[Client Transport]\ntmpdir=/elsewhere\n");
    EXPECT_EQ(New(L"Configuration", L"tmpdir"), L"/template");
    EXPECT_EQ(m_settings.Get(L"TempDir"), L"/tmp");
    EXPECT_FALSE(m_settings.Exists(L"CAInfo"));
    EXPECT_EQ(New(L"Configuration", L"other"), L"(missing)");
}

TEST_F(CarryValues, AnEmptyEntryClearsKeyAndSetting) {
    m_settings.Value(L"CAInfo") = L"/ca.pem";
    m_new.Set(L"Client Transport", L"ssl_ca_info", L"/ca.pem", Source());
    Carry("[Client Transport]\nssl_ca_info=\n");
    EXPECT_EQ(New(L"Client Transport", L"ssl_ca_info"), L"");
    EXPECT_TRUE(m_settings.Exists(L"CAInfo"));
    EXPECT_EQ(m_settings.Get(L"CAInfo"), L"");
}

TEST_F(CarryValues, TheMisspelledKeyOverridesTheCorrectOne) {
    Carry("[Event Queue]\nlevel1-retrys=7\nlevel1-retries=5\nlevel2-retries=3\n");
    EXPECT_EQ(New(L"Event Queue", L"level1-retries"), L"7");
    EXPECT_EQ(New(L"Event Queue", L"level2-retries"), L"3");
}

TEST_F(CarryValues, OnlyPathsMoveToTheNewInstallDirectory) {
    Carry(
        "[Configuration]\ninstalldir=/opt/old\ntmpdir=/opt/old/tmp\nbindir=/usr/bin\nvar=/opt/older/var\n"
        "swd_temporary_dir=/opt/old/swd\n[Client Transport]\nssl_ca_info=/opt/old/ca.pem\n");
    EXPECT_EQ(New(L"Configuration", L"tmpdir"), L"/opt/new/tmp");
    EXPECT_EQ(m_settings.Get(L"TempDir"), L"/opt/new/tmp");
    EXPECT_EQ(New(L"Configuration", L"bindir"), L"/usr/bin");
    EXPECT_EQ(New(L"Configuration", L"var"), L"/opt/older/var");
    EXPECT_EQ(New(L"SWD", L"swd_temporary_dir"), L"/opt/old/swd");
    EXPECT_EQ(New(L"Client Transport", L"ssl_ca_info"), L"/opt/old/ca.pem");
}

TEST_F(CarryValues, WithoutAnOldInstallDirectoryNothingMoves) {
    m_settings.Value(L"LogDir") = L"/var/log";
    Carry("[Configuration]\ntmpdir=/opt/old/tmp\n");
    EXPECT_EQ(New(L"Configuration", L"tmpdir"), L"/opt/old/tmp");
    EXPECT_EQ(m_settings.Get(L"LogDir"), L"/var/log");
}

TEST_F(CarryValues, AnOldInstallDirectoryThatIsTheRootMovesNothing) {
    m_settings.Value(L"LogDir") = L"/var/log";
    Carry("[Configuration]\ninstalldir=/\ntmpdir=/tmp\nbindir=/usr/bin\n");
    EXPECT_EQ(New(L"Configuration", L"tmpdir"), L"/tmp");
    EXPECT_EQ(New(L"Configuration", L"bindir"), L"/usr/bin");
    EXPECT_EQ(m_settings.Get(L"TempDir"), L"/tmp");
    EXPECT_EQ(m_settings.Get(L"LogDir"), L"/var/log");
}

TEST_F(CarryValues, AnEmptyPathLeavesTheTemplatesValueAndTheSettingsOwn) {
    std::string emptyPaths = "[Configuration]\ninstalldir=/opt/old\n";
    int count = 0;
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        if (!row.isPath) continue;
        ++count;
        emptyPaths += "[" + String(row.oldKey.section).Utf8() + "]\n" + String(row.oldKey.key).Utf8() + "=\n";
        m_new.Set(row.newKey, L"/template", Source());
        if (!row.setting.IsNone()) m_settings.Value(row.setting) = L"/setting";
    }
    m_settings.Value(L"InstallDir") = L"/opt/new";
    Carry(emptyPaths);
    EXPECT_GT(count, 5);
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        if (!row.isPath || row.setting == L"InstallDir") continue;
        EXPECT_EQ(New(row.newKey.section, row.newKey.key), L"/template") << String(row.newKey.key).Utf8();
        EXPECT_EQ(m_settings.Get(row.setting), row.setting.IsNone() ? L"" : L"/setting");
    }
}

TEST_F(CarryValues, ATypedLogDirectoryIsNotMoved) {
    m_settings.Set(L"LogDir", L"/opt/old/var", {Source::Kind::Answer});
    m_settings.Value(L"IsInteractive") = L"yes";
    Carry("[Configuration]\ninstalldir=/opt/old\n");
    EXPECT_EQ(m_settings.Get(L"LogDir"), L"/opt/old/var");
    m_settings.Set(L"LogDir", L"/opt/old/var", {Source::Kind::Xml, L"/tmp/x.xml", 1, 1});
    m_settings.Value(L"IsInteractive") = L"no";
    Carry("[Configuration]\ninstalldir=/opt/old\n");
    EXPECT_EQ(m_settings.Get(L"LogDir"), L"/opt/old/var");
}

TEST_F(CarryValues, TheDirectoriesOfTheIdentifierAndTheLogMoveToo) {
    m_settings.Value(L"GuidDir") = L"/opt/old/etc";
    m_settings.Value(L"LogDir") = L"/opt/old/var";
    m_settings.Value(L"TasksDir") = L"/opt/old/var/tasks";
    Carry("[Configuration]\ninstalldir=/opt/old\n");
    EXPECT_EQ(m_settings.Get(L"GuidDir"), L"/opt/new/etc");
    EXPECT_EQ(m_settings.Get(L"LogDir"), L"/opt/new/var");
    EXPECT_EQ(m_settings.Get(L"TasksDir"), L"/opt/old/var/tasks");
}

TEST_F(CarryValues, AnAnsweredQuestionKeepsItsAnswer) {
    m_settings.Value(L"IsInteractive") = L"yes";
    for (const Question& question : Questions()) m_settings.Value(question.key) = L"answer";
    Carry(FileOfAllRows(Spelling::AsWritten));
    for (const Question& question : Questions())
        EXPECT_EQ(m_settings.Get(question.key), L"answer") << String(question.key).Utf8();
    EXPECT_EQ(New(L"Configuration", L"tmpdir"), L"answer/1");
    EXPECT_EQ(m_settings.Get(L"PackagesDir"), L"answer/8");
    EXPECT_EQ(m_settings.Get(L"UseDomain"), L"31");
    EXPECT_EQ(m_settings.Get(L"CAInfo"), L"38");
    EXPECT_EQ(m_settings.Get(L"Description"), L"106");
}

TEST_F(CarryValues, AValueOfTheXmlFileStays_WhereItOverrides) {
    const testsupport::EnvironmentVariable override("QDN_INSTALL_OVERRIDE", "yes");
    m_settings.Set(L"Location", L"Bern", {Source::Kind::Xml, L"/tmp/x.xml"});
    m_settings.Set(L"TasksDir", L"/srv/tasks", {Source::Kind::Xml, L"/tmp/x.xml"});
    m_settings.Set(L"AssetTag", L"built in", {Source::Kind::Default});
    Carry(
        "[Configuration]\ntask_storage_path=/old/tasks\n[Client Details]\nLocation=Rack 7\nAssetTag=4711\n");
    EXPECT_EQ(m_settings.Get(L"Location"), L"Bern");
    EXPECT_EQ(m_settings.Get(L"TasksDir"), L"/srv/tasks");
    EXPECT_EQ(m_settings.Get(L"AssetTag"), L"4711");
}

TEST_F(CarryValues, OnlyExactlyYesMakesARunInteractive) {
    m_settings.Value(L"IsInteractive") = L"Yes";
    m_settings.Value(L"TempDir") = L"answer";
    Carry("[Configuration]\ntmpdir=/old/tmp\n");
    EXPECT_EQ(m_settings.Get(L"TempDir"), L"/old/tmp");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
