// The keys of client.conf that settings feed: each kind of value, each rule of its own, and raw entries.
#include <filesystem>
#include <gtest/gtest.h>

#include "config/ClientConfDraft.h"
#include "settings/ClientConfKeyMap.h"
#include "settings/XmlConfig.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

class ApplySettings : public testing::Test {
  protected:
    ApplySettings() { m_settings.Value(L"InstallDir") = L"/opt/z"; }

    String& Setting(SettingName name) { return m_settings.Value(name); }

    /// The value of "Section/key" once the settings have been applied to an empty file.
    String Applied(const wchar_t* path) {
        ClientConfDraft draft(L"/tmp/no such file");
        EXPECT_TRUE(ApplySettingsToClientConf(draft, m_settings));
        const String text = path;
        String value = L"(missing)";
        draft.File().GetValue(text.Before(L"/"), text.Mid(text.Find(L"/") + 1), value);
        return value;
    }
    /// That value for this one of a setting.
    String Applied(const wchar_t* path, SettingName setting, const wchar_t* value) {
        Setting(setting) = value;
        return Applied(path);
    }

    Settings m_settings;
};

TEST_F(ApplySettings, BooleansAreWords) {
    for (const wchar_t* word : {L"yes", L"y", L"TRUE", L"On", L" 1 "}) {
        SCOPED_TRACE(word);
        EXPECT_EQ(Applied(L"Client Transport/ssl_verify_peer", L"SSLVerifyPeer", word), L"yes");
        EXPECT_EQ(Applied(L"Client Transport/ssl_verify_host", L"SSLVerifyHost", word), L"yes");
    }
    for (const wchar_t* word : {L"", L"no", L"0", L"verily"})
        EXPECT_EQ(Applied(L"Client Transport/ssl_verify_peer", L"SSLVerifyPeer", word), L"no") << word;
}

TEST_F(ApplySettings, OneBooleanIsADigit) {
    EXPECT_EQ(Applied(L"Configuration/basicinv_use_resolv_conf", L"UseDomain", L"yes"), L"1");
    EXPECT_EQ(Applied(L"Configuration/basicinv_use_resolv_conf", L"UseDomain", L"1"), L"1");
    EXPECT_EQ(Applied(L"Configuration/basicinv_use_resolv_conf", L"UseDomain", L"no"), L"0");
    EXPECT_EQ(Applied(L"Configuration/basicinv_use_resolv_conf", L"UseDomain", L""), L"0");
}

TEST_F(ApplySettings, FreeTextStandsAsItIs_ExceptForWordsThatMeanNone) {
    const struct {
        const wchar_t* value;
        const wchar_t* written;
    } table[] = {
        {L"Ann Example", L"Ann Example"},
        {L"None", L""},
        {L" NONE\t", L""},
        {L"null", L""},
        {L"Null ", L""},
        {L"", L""},
        {L"Nonesuch", L"Nonesuch"},
        {L"none at all", L"none at all"},
        {L"%INSTDIR%", L"%INSTDIR%"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(Applied(L"Client Details/ContactName", L"ContactName", row.value), row.written);
        EXPECT_EQ(Applied(L"Client Details/Description", L"Description", row.value), row.written);
    }
}

TEST_F(ApplySettings, PathsAreExpandedAndAbsolute) {
    const struct {
        const wchar_t* key;
        SettingName setting;
    } rows[] = {
        {L"Configuration/tmpdir", L"TempDir"},
        {L"Configuration/bindir", L"BinDir"},
        {L"Configuration/event_queue_dir", L"EventQueueDir"},
        {L"Configuration/task_storage_path", L"TasksDir"},
        {L"Configuration/package_storage_path", L"PackagesDir"},
        {L"Configuration/swd_storage_path", L"SWDDir"},
    };
    std::filesystem::current_path("/opt");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(Applied(row.key, row.setting, L"%INSTDIR%/var/x"), L"/opt/z/var/x");
        EXPECT_EQ(Applied(row.key, row.setting, L"%ETCDIR%"), L"/opt/z/etc");
        EXPECT_EQ(Applied(row.key, row.setting, L"rel"), L"/opt/rel");
        EXPECT_EQ(Applied(row.key, row.setting, L""), L"/");
    }
    std::filesystem::current_path("/");
}

TEST_F(ApplySettings, OptionalPathsMayBeEmpty) {
    for (const auto& [key, setting] : {std::pair(L"Client Transport/ssl_ca_info", SettingName(L"CAInfo")),
                                       std::pair(L"Client Transport/ssl_ca_path", SettingName(L"CAPath"))}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(Applied(key, setting, L""), L"");
        EXPECT_EQ(Applied(key, setting, L"%ETCDIR%/ca.pem"), L"/opt/z/etc/ca.pem");
        EXPECT_EQ(Applied(key, setting, L"ca.pem"), L"/ca.pem");
    }
    Setting(L"InstallDir") = L"";
    EXPECT_EQ(Applied(L"Client Transport/ssl_ca_info", L"CAInfo", L"%INSTDIR%"), L"");
}

TEST_F(ApplySettings, KeysThatNoSettingFeedsAreNotWritten) {
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        const String path = String(row.newKey.section) + L"/" + row.newKey.key;
        const bool hasARule =
            path.StartsWith(L"Configuration/debug_") || path.StartsWith(L"Configuration/runlevels_") ||
            path == L"Configuration/syslog_level" || path == L"Configuration/basicinv_ip_error_return_value";
        if (row.kind != ValueKind::None || hasARule) continue;
        EXPECT_EQ(Applied(std::wstring(path.View()).c_str()), L"(missing)") << path.Utf8();
    }
}

TEST_F(ApplySettings, TheInterfaceErrorHasATextOfItsOwnOrTheUsualOne) {
    constexpr const wchar_t* key = L"Configuration/basicinv_ip_error_return_value";
    Setting(L"EnableNICError") = L"yes";
    EXPECT_EQ(Applied(key), L"NameServ Error");
    EXPECT_EQ(Applied(key, L"NICError", L"No address"), L"No address");
    EXPECT_EQ(Applied(key, L"NICError", L""), L"");
    Setting(L"EnableNICError") = L"no";
    EXPECT_EQ(Applied(key, L"NICError", L"No address"), L"");
}

TEST_F(ApplySettings, FilesLieBelowTheirDirectories) {
    const struct {
        const wchar_t* directory;
        const wchar_t* name;
        const wchar_t* path;
    } table[] = {
        {L"%INSTDIR%/etc", L"host.GUID", L"/opt/z/etc/host.GUID"},
        {L"%ETCDIR%/", L"host.GUID", L"/opt/z/etc/host.GUID"},
        {L"/a b \t", L"x", L"/a b/x"},
        {L"", L"x", L"/x"},
        {L"rel", L"x", L"/rel/x"},
        {L"/a", L"", L"/a/"},
    };
    for (const auto& row : table) {
        Setting(L"GuidFile") = Setting(L"LogFile") = row.name;
        EXPECT_EQ(Applied(L"Configuration/guid_guid_file", L"GuidDir", row.directory), row.path);
        EXPECT_EQ(Applied(L"Configuration/debug_output", L"LogDir", row.directory), row.path);
    }
}

TEST_F(ApplySettings, TheLogHasDefaults_WhereASettingIsEmpty) {
    const struct {
        const wchar_t* key;
        SettingName setting;
        const wchar_t* fallback;
    } rows[] = {
        {L"Configuration/debug_file_size", L"LogSize", L"1024"},
        {L"Configuration/debug_level", L"LogLevel", L"info"},
        {L"Configuration/syslog_level", L"SysLogLevel", L"none"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(Applied(row.key), row.fallback);
        EXPECT_EQ(Applied(row.key, row.setting, L""), row.fallback);
        EXPECT_EQ(Applied(row.key, row.setting, L"Any Text"), L"Any Text");
    }
}

TEST_F(ApplySettings, TheUrlFormatIsWritten_OnlyWhenThereIsOne) {
    constexpr const wchar_t* key = L"Client Transport/ks_url_format";
    EXPECT_EQ(Applied(key), L"(missing)");
    EXPECT_EQ(Applied(key, L"KSUrlFormat", L"https://%server%/Zorvane/"), L"https://%server%/Zorvane/");
    EXPECT_EQ(Applied(key, L"KSUrlFormat", L""), L"");
}

TEST_F(ApplySettings, RunLevelsAreSplitIntoThoseToStartAndToStopIn) {
    EXPECT_EQ(Applied(L"Configuration/runlevels_start", L"RunLevel", L"rc2;rc3;rc5"), L"2 3 5");
    EXPECT_EQ(Applied(L"Configuration/runlevels_stop"), L"0 1 4 6");
    EXPECT_EQ(Applied(L"Configuration/runlevels_start", L"RunLevel", L""), L"");
    EXPECT_EQ(Applied(L"Configuration/runlevels_stop"), L"");
}

TEST_F(ApplySettings, ExtraSettingsComeLastAndInOrder) {
    Setting(L"LogSize") = L"256";
    m_settings.AddExtra({L"Configuration", L"debug_file_size", L"1"});
    m_settings.AddExtra({L"My Section", L"My Key", L"%INSTDIR%"});
    m_settings.AddExtra({L"Configuration", L"debug_file_size", L"2"});
    EXPECT_EQ(Applied(L"Configuration/debug_file_size"), L"2");
    EXPECT_EQ(Applied(L"My Section/My Key"), L"%INSTDIR%");
}

TEST_F(ApplySettings, RecordsEachNoThatNoOtherKeyHolds_AtTheEndOfTheFile) {
    Setting(L"AllowNonRoot") = L"no";
    Setting(L"StartupOnBoot") = L"no";
    Setting(L"EnableNICError") = L"no";
    m_settings.AddExtra({L"Extra", L"key", L"value"});
    EXPECT_EQ(Applied(L"Installation/allow_non_root"), L"no");
    EXPECT_EQ(Applied(L"Installation/startup_on_boot"), L"no");
    EXPECT_EQ(Applied(L"Installation/enable_nic_error"), L"no");
    ClientConfDraft draft(L"/tmp/no such file");
    EXPECT_TRUE(ApplySettingsToClientConf(draft, m_settings));
    const auto values = draft.File().Values();
    EXPECT_EQ(std::vector(values.end() - 4, values.end()),
              (std::vector<String>{L"value", L"no", L"no", L"no"}));
}

TEST_F(ApplySettings, RecordsNoOtherValueThanNo) {
    for (const wchar_t* value : {L"yes", L"", L"No"}) {
        for (const Key::RecordedKey& row : Key::kRecorded) Setting(row.setting) = value;
        for (const wchar_t* path : {L"Installation/allow_non_root", L"Installation/startup_on_boot",
                                    L"Installation/enable_nic_error"})
            EXPECT_EQ(Applied(path), L"(missing)") << String(value).Utf8();
    }
}

TEST_F(ApplySettings, WritesNoFileOfTheIdentifier) {
    const testfiles::TempDir dir;
    Setting(L"GuidDir") = String::FromUtf8(dir.Path());
    Setting(L"GuidFile") = L"host\nGUID ";
    Setting(L"Guid") = L"{A}";
    EXPECT_EQ(Applied(L"Configuration/guid_guid_file"), String::FromUtf8(dir / "host GUID"));
    EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
}

TEST_F(ApplySettings, TheDefaultsGiveThisFile) {
    const testfiles::TempDir dir;
    const String path = String::FromUtf8(dir / "client.conf");
    ClientConfDraft draft(path);
    const auto settings = DefaultSettings();
    settings->Value(L"InstallDir") = L"/opt/z";
    EXPECT_TRUE(ApplySettingsToClientConf(draft, *settings));
    ASSERT_TRUE(draft.File().Write());
    EXPECT_EQ(testfiles::Read(dir / "client.conf"),
              "[Configuration]\ntmpdir=/tmp\nbindir=/usr/bin\nevent_queue_dir=/opt/z/var/queue\n"
              "task_storage_path=/opt/z/var/tasks\npackage_storage_path=/opt/z/var/packages\n"
              "swd_storage_path=/opt/z/var/swd\nbasicinv_use_resolv_conf=1\n"
              "basicinv_ip_error_return_value=NameServ Error\nguid_guid_file=/opt/z/etc/host.GUID\n"
              "debug_output=/opt/z/var/qdn-client.log\ndebug_file_size=256\ndebug_level=Error\n"
              "syslog_level=None\nrunlevels_start=2 3 5\nrunlevels_stop=0 1 4 6\n"
              "[Client Transport]\nssl_verify_peer=no\nssl_verify_host=no\nssl_ca_info=\nssl_ca_path=\n"
              "ks_url_format=http://%server%/Zorvane/\n"
              "[Client Details]\nSerialNumber=\nAssetTag=\nEmployeeID=\nContactName=\nContactPhone=\n"
              "ContactEmail=\nLocation=\nDepartment=\nDescription=\n");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
