// Which settings an installed agent's client.conf gives.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/syscall.h>

#include "agents/carry/InstalledSettings.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using testfiles::TempDir;

class InstalledSettings : public testing::Test {
  protected:
    std::unique_ptr<Settings> Load(const std::string& text, Generation generation = Generation::Agent60) {
        testfiles::Write(m_dir / "client.conf", text);
        return *LoadInstalledSettings(
            IniFile(String::FromUtf8(m_dir / "client.conf"), IniFile::KeyCase::FallBack), generation);
    }

    TempDir m_dir;
};

constexpr const char* kConf =
    "[Kell Servers]\n"
    "server-1=ks.example:8080\n"
    "[Configuration]\n"
    "installdir=/opt/agent\n"
    "tmpdir=/opt/agent/tmp\n"
    "bindir=/usr/local/bin\n"
    "debug_level=debug\n"
    "debug_file_size=512\n"
    "event_queue_dir=/opt/agent/queue\n"
    "task_storage_path=/opt/agent/tasks\n"
    "package_storage_path=/opt/agent/packages\n"
    "swd_storage_path=/opt/agent/swd\n"
    "syslog_level=error\n"
    "basicinv_ip_error_return_value=no address\n"
    "guid_guid_file=/opt/agent/etc/host.GUID\n"
    "runlevels_start=2 3 5\n"
    "debug_output=/opt/agent/var/qdn-client.log\n"
    "[Client Transport]\n"
    "ks_url_format=https://%server%/Zorvane/\n"
    "[Client Details]\n"
    "description=the printer's host\n";

struct Expected {
    SettingName setting;
    const wchar_t* value;
};

constexpr Expected kOfBoth[] = {
    {L"InstallDir", L"/opt/agent"},
    {L"TempDir", L"/opt/agent/tmp"},
    {L"BinDir", L"/usr/local/bin"},
    {L"LogLevel", L"debug"},
    {L"LogSize", L"512"},
    {L"EventQueueDir", L"/opt/agent/queue"},
    {L"TasksDir", L"/opt/agent/tasks"},
    {L"NICError", L"no address"},
    {L"EnableNICError", L"yes"},
    {L"GuidDir", L"/opt/agent/etc"},
    {L"GuidFile", L"host.GUID"},
    {L"LogDir", L"/opt/agent/var"},
    {L"LogFile", L"qdn-client.log"},
};

constexpr Expected kOf60[] = {
    {L"KSName", L"ks.example:8080"},
    {L"PackagesDir", L"/opt/agent/packages"},
    {L"SWDDir", L"/opt/agent/swd"},
    {L"SysLogLevel", L"error"},
    {L"KSUrlFormat", L"https://%server%/Zorvane/"},
};

// A file of version 5.6 need not have them.
constexpr Expected kOfBothWhereTheyAre[] = {
    {L"RunLevel", L"rc2;rc3;rc5;"},
    {L"Description", L"the printer's host"},
};

TEST_F(InstalledSettings, AreAllOfTheFile_ForVersion6) {
    const auto settings = Load(kConf);
    for (const Expected& row : kOfBothWhereTheyAre)
        EXPECT_EQ(settings->Value(row.setting), row.value) << String(row.setting).Utf8();
    for (const Expected& row : kOfBoth)
        EXPECT_EQ(settings->Value(row.setting), row.value) << String(row.setting).Utf8();
    for (const Expected& row : kOf60)
        EXPECT_EQ(settings->Value(row.setting), row.value) << String(row.setting).Utf8();
    EXPECT_FALSE(settings->Exists(L"Guid"));
}

TEST_F(InstalledSettings, KnowTheLineThatTheyAreFrom) {
    std::vector<std::string> lines = {""};
    std::istringstream text(kConf);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    const auto settings = Load(kConf);
    std::size_t count = 0;
    for (const auto& [name, record] : settings->Records()) {
        SCOPED_TRACE(String(name).Utf8());
        const Source& source = record.used.source;
        EXPECT_EQ(source.kind, Source::Kind::Installed);
        EXPECT_EQ(source.name, String::FromUtf8(m_dir / "client.conf"));
        ASSERT_TRUE(source.line > 0 && source.line < lines.size()) << source.line;
        // The name of a file's key says nothing of the setting: its value, or a part of it, does.
        if (name == L"EnableNICError" || name == L"RunLevel") continue;
        ++count;
        EXPECT_NE(lines[source.line].find(record.used.value.Utf8()), std::string::npos) << lines[source.line];
    }
    EXPECT_EQ(count, 18U);
}

TEST_F(InstalledSettings, LackWhatVersion56DidNotKnow) {
    testfiles::Write(m_dir / "host.GUID", "{1234}\n");
    const auto settings = Load(kConf, Generation::Agent56);
    for (const Expected& row : kOfBothWhereTheyAre)
        EXPECT_EQ(settings->Value(row.setting), row.value) << String(row.setting).Utf8();
    for (const Expected& row : kOfBoth)
        EXPECT_EQ(settings->Value(row.setting), row.value) << String(row.setting).Utf8();
    for (const Expected& row : kOf60)
        EXPECT_FALSE(settings->Exists(row.setting)) << String(row.setting).Utf8();
    EXPECT_FALSE(settings->Exists(L"Guid"));
    EXPECT_EQ(settings->Get(L"InstalledKSName"), Load(kConf)->Get(L"KSName"));
}

TEST_F(InstalledSettings, HaveTheGuidTheRunLevelsAndTheDescription_ForVersion56) {
    testfiles::Write(m_dir / "host.GUID", "{56}\n");
    const auto settings = Load("[Configuration]\nguid_guid_file=" + m_dir / "host.GUID" +
                                   "\nrunlevels_start=2 4\n[Client Details]\ndescriptions=a host\n",
                               Generation::Agent56);
    EXPECT_EQ(settings->Get(L"Guid"), L"{56}");
    EXPECT_EQ(settings->Get(L"RunLevel"), L"rc2;rc4;");
    EXPECT_EQ(settings->Get(L"Description"), L"a host");
}

TEST_F(InstalledSettings, HaveTheGuidOfTheUsualFile_WhenVersion56NamesNone) {
    const std::string usual = "/opt/zorvane/kell/ksagent/etc/host.GUID";
    testfiles::Write(usual, "{usual}");
    for (const std::string none : {"[Configuration]\n", "[Configuration]\nguid_guid_file=\n"}) {
        EXPECT_EQ(Load(none, Generation::Agent56)->Get(L"Guid"), L"{usual}") << none;
        EXPECT_FALSE(Load(none, Generation::Agent60)->Exists(L"Guid")) << none;
    }
    std::filesystem::remove_all("/opt/zorvane");
}

TEST_F(InstalledSettings, ArePresentAndEmpty_WhenTheFileIsEmpty) {
    const auto settings = Load("");
    for (const Expected& row : kOfBoth) {
        if (row.setting == L"EnableNICError") continue;
        EXPECT_TRUE(settings->Exists(row.setting)) << String(row.setting).Utf8();
        EXPECT_FALSE(settings->IsSet(row.setting)) << String(row.setting).Utf8();
    }
    for (const SettingName setting : std::initializer_list<SettingName>{
             L"KSName", L"PackagesDir", L"SWDDir", L"SysLogLevel", L"KSUrlFormat", L"Description"})
        EXPECT_TRUE(settings->Exists(setting)) << String(setting).Utf8();
    for (const SettingName setting :
         std::initializer_list<SettingName>{L"EnableNICError", L"RunLevel", L"Guid"})
        EXPECT_FALSE(settings->Exists(setting)) << String(setting).Utf8();
}

TEST_F(InstalledSettings, FailToLoad_WhenTheFileCannotBeRead) {
    const IniFile conf(String::FromUtf8(m_dir / "absent"), IniFile::KeyCase::FallBack);
    for (const Generation generation : {Generation::Agent56, Generation::Agent60}) {
        const auto settings = LoadInstalledSettings(conf, generation);
        ASSERT_FALSE(settings);
        EXPECT_EQ(settings.error().text.Utf8(),
                  "Missing or unreadable file in install. File: " + m_dir / "absent");
        EXPECT_EQ(settings.error().reason.Utf8(), m_dir / "absent" + ": No such file or directory");
    }
}

TEST_F(InstalledSettings, AreFoundInWhicheverCaseAnOldAgentWroteTheKeys) {
    const auto settings =
        Load("[Configuration]\nInstallDir=/opt/agent\n[Client Details]\nDescription=host\n");
    EXPECT_EQ(settings->Value(L"InstallDir"), L"/opt/agent");
    EXPECT_EQ(settings->Value(L"Description"), L"host");
}

TEST_F(InstalledSettings, TakeARecordedNo) {
    const auto settings =
        Load("[Installation]\nallow_non_root=no\nstartup_on_boot=no\nenable_nic_error=no\n");
    for (const SettingName setting :
         std::initializer_list<SettingName>{L"AllowNonRoot", L"StartupOnBoot", L"EnableNICError"})
        EXPECT_EQ(settings->Get(setting), L"no") << String(setting).Utf8();
    EXPECT_FALSE(Load("[Installation]\nallow_non_root=yes\n")->Exists(L"AllowNonRoot"));
    EXPECT_EQ(Load("[Installation]\nallow_non_root=No\n")->Get(L"AllowNonRoot"), L"no");
}

TEST_F(InstalledSettings, TurnDigitsIntoRunLevels) {
    const struct {
        const wchar_t* digits;
        const wchar_t* levels;
    } rows[] = {
        {L"2345", L"rc2;rc3;rc4;rc5;"},
        {L"35", L"rc3;rc5;"},
        {L"3, 5", L"rc3;rc5;"},
        {L"2 3 5", L"rc2;rc3;rc5;"},
        {L"09", L"rc0;rc9;"},
        {L"", L""},
        {L"none", L""},
    };
    for (const auto& row : rows) {
        const auto settings = Load("[Configuration]\nrunlevels_start=" + String(row.digits).Utf8() + "\n");
        EXPECT_TRUE(settings->Exists(L"RunLevel")) << String(row.digits).Utf8();
        EXPECT_EQ(settings->Value(L"RunLevel"), row.levels) << String(row.digits).Utf8();
    }
}

TEST_F(InstalledSettings, TakeTheDescriptionFromEitherKeyTheSingularFirst) {
    const struct {
        const char* lines;
        const wchar_t* description;
    } rows[] = {
        {"descriptions=many\n", L"many"},
        {"descriptions=many\ndescription=one\n", L"one"},
        {"description=\ndescriptions=many\n", L"many"},
        {"description=one\ndescriptions=\n", L"one"},
    };
    for (const auto& row : rows) {
        const auto settings = Load(std::string("[Client Details]\n") + row.lines);
        EXPECT_EQ(settings->Value(L"Description"), row.description) << row.lines;
    }
}

TEST_F(InstalledSettings, EnableTheNetworkErrorText_WhenThereIsOne) {
    const auto with = Load("[Configuration]\nbasicinv_ip_error_return_value=0\n");
    EXPECT_EQ(with->Value(L"EnableNICError"), L"yes");
    const auto without = Load("[Configuration]\nbasicinv_ip_error_return_value=\n");
    EXPECT_FALSE(without->Exists(L"EnableNICError"));
    EXPECT_TRUE(without->Exists(L"NICError"));
}

TEST_F(InstalledSettings, ReadTheGuidWithoutItsLineEndsAndTheProgramsOwnLine) {
    const struct {
        const char* file;
        const wchar_t* guid;
    } rows[] = {
        {"{1234-ABCD}", L"{1234-ABCD}"},
        {"{1234-ABCD}\n", L"{1234-ABCD}"},
        {"  {1234-ABCD}\t\r\n\n", L"{1234-ABCD}"},
        {"{1234-ABCD}\nnull", L"{1234-ABCD}"},
        {"{1234-ABCD}\nnull\nnull\n", L"{1234-ABCD}"},
        {"{1234-ABCD}\r\nnull\r\n", L"{1234-ABCD}"},
        {"{1234-ABCD}\nnullify", L"{1234-ABCD}\nnullify"},
        {"\nnull", L""},
        {"", L""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        testfiles::Write(m_dir / "host.GUID", row.file);
        const auto settings = Load("[Configuration]\nguid_guid_file=" + m_dir / "host.GUID" + "\n");
        EXPECT_EQ(settings->Value(L"Guid"), row.guid);
        EXPECT_EQ(settings->Value(L"GuidDir").Utf8(), m_dir.Path());
        EXPECT_EQ(settings->Value(L"GuidFile"), L"host.GUID");
    }
}

TEST_F(InstalledSettings, HaveTheGuidThatAnInterruptedUpgradeHasCarried) {
    testfiles::Write(m_dir / "etc/host.GUID", "{1234}\nnull");
    testfiles::Write(m_dir / "etc/client.conf.old",
                     "[Configuration]\ninstalldir=/opt/gone\nguid_guid_file=/opt/gone/etc/host.GUID\n");
    const auto settings =
        *LoadInstalledSettings(IniFile(String::FromUtf8(m_dir / "etc/client.conf.old")), Generation::Agent60);
    EXPECT_EQ(settings->Value(L"Guid"), L"{1234}");
}

// Without it the run would take the identifier away from a host that has one.
TEST_F(InstalledSettings, FailToLoad_WhenThereMayBeAGuidThatCannotBeRead) {
    const std::string guidFile = m_dir / "host.GUID";
    const std::string text = "[Configuration]\nguid_guid_file=" + guidFile + "\n";
    testfiles::Write(m_dir / "client.conf", text);
    const IniFile conf(String::FromUtf8(m_dir / "client.conf"));
    for (const int call : {SYS_newfstatat, SYS_openat, SYS_read}) {
        for (const int errnoValue : {EIO, EACCES, EMFILE}) {
            testfiles::Write(guidFile, "{1}\nnull");
            EXPECT_EQ(testsupport::WithFailing(
                          {{call, errnoValue}},
                          [&] {
                              const auto settings = LoadInstalledSettings(conf, Generation::Agent60);
                              const String told = L"Missing or unreadable file in install. File: ";
                              const bool isTold =
                                  !settings && settings.error().text == told + String::FromUtf8(guidFile);
                              return isTold ? 0 : 1;
                          }),
                      0)
                << call << ": " << errnoValue;
        }
    }
    EXPECT_EQ((*LoadInstalledSettings(conf, Generation::Agent60))->Get(L"Guid"), L"{1}");
}

TEST_F(InstalledSettings, HaveNoGuid_WhenADirectoryStandsInItsPlace) {
    std::filesystem::create_directory(m_dir / "host.GUID");
    const auto settings = Load("[Configuration]\nguid_guid_file=" + (m_dir / "host.GUID") + "\n");
    ASSERT_NE(settings, nullptr);
    EXPECT_FALSE(settings->Exists(L"Guid"));
}

TEST_F(InstalledSettings, HaveNoGuid_WhenItsFileIsOverFourKibibytes) {
    for (const std::size_t size : {4096U, 4097U}) {
        testfiles::Write(m_dir / "host.GUID", std::string(size, 'A'));
        const auto settings = Load("[Configuration]\nguid_guid_file=" + (m_dir / "host.GUID") + "\n");
        ASSERT_NE(settings, nullptr);
        EXPECT_EQ(settings->Exists(L"Guid"), size == 4096);
    }
}

TEST_F(InstalledSettings, HaveNoGuid_WhenItsFileIsNotThere) {
    const auto settings = Load("[Configuration]\nguid_guid_file=" + m_dir / "absent.GUID" + "\n");
    EXPECT_EQ(settings->Value(L"GuidDir").Utf8(), m_dir.Path());
    EXPECT_EQ(settings->Value(L"GuidFile"), L"absent.GUID");
    EXPECT_FALSE(settings->Exists(L"Guid"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
