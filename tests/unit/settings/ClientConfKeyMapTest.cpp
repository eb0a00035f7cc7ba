// The key table: every row, and the order that lets a later row win.
#include <gtest/gtest.h>
#include <map>
#include <set>

#include "corekit/text/String.h"
#include "settings/ClientConfKeyMap.h"
#include "settings/Questionnaire.h"
#include "settings/XmlConfig.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

// clang-format off
constexpr const wchar_t* kOldKeys[] = {
    L"Configuration/tmpdir",
    L"Configuration/bindir",
    L"Configuration/scenario_guid_basicinv",
    L"Configuration/event_queue_dir",
    L"Configuration/event_file_extension",
    L"Configuration/task_storage_path",
    L"Configuration/task_file_extension",
    L"Configuration/package_storage_path",
    L"Configuration/package_disable_server_pings",
    L"Configuration/package_refresh_interval",
    L"Configuration/package_check_removed_packages_interval",
    L"Configuration/package_max_total_tries",
    L"Configuration/package_max_total_tries_time",
    L"Configuration/package_retry_delay",
    L"Configuration/package_retry_delay_factor",
    L"Configuration/package_max_retry_delay",
    L"Configuration/package_simultaneous_downloads",
    L"Configuration/dump_download_queue",
    L"Configuration/swd_storage_path",
    L"Configuration/var",
    L"Configuration/debug_output",
    L"Configuration/debug_file_layout",
    L"Configuration/debug_file_size",
    L"Configuration/debug_backup_copies",
    L"Configuration/debug_level",
    L"Configuration/syslog_level",
    L"Configuration/use_https",
    L"Configuration/runlevels_start",
    L"Configuration/runlevels_stop",
    L"Configuration/policies_cache_dir",
    L"Configuration/basicinv_use_resolv_conf",
    L"Configuration/basicinv_ip_error_return_value",
    L"Configuration/basicinv_report_hostname",
    L"Configuration/basicinv_report_domain",
    L"Client Transport/transport_timeout",
    L"Client Transport/ssl_verify_peer",
    L"Client Transport/ssl_verify_host",
    L"Client Transport/ssl_ca_info",
    L"Client Transport/ssl_ca_path",
    L"Client Transport/compression_enabled",
    L"Client Transport/compression_eventsize",
    L"Tickle/enabled",
    L"Tickle/tcpip_port",
    L"Tickle/multicast_group",
    L"Tickle/multicast_port",
    L"Tickle/overload_pause_time",
    L"Tickle/overload_short_period",
    L"Tickle/overload_short_max",
    L"Tickle/overload_long_period",
    L"Tickle/overload_long_max",
    L"Event Queue/level1-delay",
    L"Event Queue/level1-retries",
    L"Event Queue/level2-delay",
    L"Event Queue/level2-retries",
    L"Event Queue/level3-delay",
    L"Event Queue/level3-retries",
    L"Event Queue/level4-delay",
    L"Event Queue/level4-retries",
    L"Event Queue/level5-delay",
    L"Event Queue/level5-retries",
    L"Event Queue/level1-retrys",
    L"Event Queue/level2-retrys",
    L"Event Queue/level3-retrys",
    L"Event Queue/level4-retrys",
    L"Event Queue/level5-retrys",
    L"Event Queue/hold_queue",
    L"MachineID/connectivity_check_period",
    L"MachineID/primary_user_last_logons",
    L"MachineID/ps_integration_dir",
    L"MachineID/ps_send_apache_role",
    L"MachineID/connectivity_lan_time",
    L"MachineID/connectivity_wan_time",
    L"MachineID/connectivity_none_time",
    L"MachineID/connectivity_total_time",
    L"Object Manager/IORFilePath",
    L"Object Manager/checkperiod",
    L"Object Manager/system_boot_time",
    L"Agent Monitor/wait_policies_update",
    L"Agent Monitor/agent_checkup_interval",
    L"Agent Monitor/diagnostics_startup_interval",
    L"Agent Monitor/diagnostics_timeout",
    L"Policy Manager/policies_request_interval",
    L"Policy Manager/basicinv_send_interval",
    L"SWD/swd_temporary_dir",
    L"SWD/swd_lowpriority",
    L"SWD/swd_normalpriority",
    L"SWD/swd_highpriority",
    L"SWD/swd_veryhighpriority",
    L"SWD/pkg_access_username",
    L"SWD/pkg_access_password",
    L"SWD/swd_max_output_history_length",
    L"Httpd Integration/apache_exe_location",
    L"Httpd Integration/apache_config_location",
    L"Httpd Integration/integrate_with",
    L"Httpd Integration/authfiles_location",
    L"Httpd Integration/ifdefine_variables",
    L"Httpd Integration/chroot_mapping",
    L"Client Details/SerialNumber",
    L"Client Details/AssetTag",
    L"Client Details/EmployeeID",
    L"Client Details/ContactName",
    L"Client Details/ContactPhone",
    L"Client Details/ContactEmail",
    L"Client Details/Location",
    L"Client Details/Department",
    L"Client Details/Description",
    L"Configuration/transport_timeout",
    L"Configuration/httppost_var_name",
    L"Configuration/swd_temporary_dir",
};
// clang-format on

/// What a row says beyond its old key; the numbers of rows count from 1.
struct Row {
    const wchar_t* newKey;  // null: the same
    bool isPath;
    std::wstring_view setting;
    int kind;
};
const std::map<int, Row> kRows = {
    {1, {nullptr, true, L"TempDir", 4}},
    {2, {nullptr, true, L"BinDir", 4}},
    {4, {nullptr, true, L"EventQueueDir", 4}},
    {6, {nullptr, true, L"TasksDir", 4}},
    {8, {nullptr, true, L"PackagesDir", 4}},
    {19, {nullptr, true, L"SWDDir", 4}},
    {20, {nullptr, true, L"", 0}},
    {21, {nullptr, true, L"", 0}},
    {30, {nullptr, true, L"", 0}},
    {31, {nullptr, false, L"UseDomain", 2}},
    {36, {nullptr, false, L"SSLVerifyPeer", 1}},
    {37, {nullptr, false, L"SSLVerifyHost", 1}},
    {38, {nullptr, false, L"CAInfo", 5}},
    {39, {nullptr, false, L"CAPath", 5}},
    {61, {L"Event Queue/level1-retries", false, L"", 0}},
    {62, {L"Event Queue/level2-retries", false, L"", 0}},
    {63, {L"Event Queue/level3-retries", false, L"", 0}},
    {64, {L"Event Queue/level4-retries", false, L"", 0}},
    {65, {L"Event Queue/level5-retries", false, L"", 0}},
    {75, {nullptr, true, L"", 0}},
    {92, {nullptr, true, L"", 0}},
    {93, {nullptr, true, L"", 0}},
    {98, {nullptr, false, L"SerialNumber", 3}},
    {99, {nullptr, false, L"AssetTag", 3}},
    {100, {nullptr, false, L"EmployeeID", 3}},
    {101, {nullptr, false, L"ContactName", 3}},
    {102, {nullptr, false, L"ContactPhone", 3}},
    {103, {nullptr, false, L"ContactEmail", 3}},
    {104, {nullptr, false, L"Location", 3}},
    {105, {nullptr, false, L"Department", 3}},
    {106, {nullptr, false, L"Description", 3}},
    {107, {L"Client Transport/transport_timeout", false, L"", 0}},
    {108, {L"Client Transport/httppost_var_name", false, L"", 0}},
    {109, {L"SWD/swd_temporary_dir", false, L"", 0}},
};

String Text(const ConfKey& path) {
    return String(path.section) + L"/" + path.key;
}

/// The number of the row that carries an old key.
std::size_t RowOf(std::wstring_view oldKey) {
    std::size_t row = 1;
    for (const ClientConfKey& key : ClientConfKeyMap()) {
        if (Text(key.oldKey) == oldKey) return row;
        ++row;
    }
    ADD_FAILURE() << "no row " << String(oldKey).Utf8();
    return 0;
}

TEST(ClientConfKeyMap, CarriesTheseKeysInThisOrder) {
    ASSERT_EQ(std::size(kOldKeys), 109U);
    ASSERT_EQ(ClientConfKeyMap().size(), 109U);
    for (std::size_t i = 0; i < std::size(kOldKeys); ++i)
        EXPECT_EQ(Text(ClientConfKeyMap()[i].oldKey), kOldKeys[i]) << "row " << i + 1;
}

TEST(ClientConfKeyMap, NamesTheNewKeyAndTheSettingOfEachRow) {
    int number = 0;
    for (const ClientConfKey& key : ClientConfKeyMap()) {
        SCOPED_TRACE("row " + std::to_string(++number));
        const auto found = kRows.find(number);
        const Row row = found == kRows.end() ? Row{nullptr, false, {}, 0} : found->second;
        EXPECT_EQ(Text(key.newKey), row.newKey ? String(row.newKey) : Text(key.oldKey));
        EXPECT_EQ(key.isPath, row.isPath);
        EXPECT_TRUE(key.setting.View() == row.setting);
        EXPECT_EQ(static_cast<int>(key.kind), row.kind);
    }
}

TEST(ClientConfKeyMap, ARowThatMendsAKeyComesAfterTheOneThatCarriesIt) {
    EXPECT_EQ(RowOf(L"Event Queue/level1-retries"), 52U);
    EXPECT_EQ(RowOf(L"Event Queue/level2-retries"), 54U);
    EXPECT_EQ(RowOf(L"Event Queue/level3-retries"), 56U);
    EXPECT_EQ(RowOf(L"Event Queue/level4-retries"), 58U);
    EXPECT_EQ(RowOf(L"Event Queue/level5-retries"), 60U);
    EXPECT_EQ(RowOf(L"Client Transport/transport_timeout"), 35U);
    EXPECT_EQ(RowOf(L"SWD/swd_temporary_dir"), 84U);
}

TEST(ClientConfKeyMap, NoTwoOldKeysDifferInCaseOnly) {
    std::set<String> folded;
    for (const ClientConfKey& key : ClientConfKeyMap()) folded.insert(Text(key.oldKey).Lower());
    EXPECT_EQ(folded.size(), 109U);
}

TEST(ClientConfKeyMap, EachSettingFeedsOneKeyAndHasADefault) {
    const auto defaults = DefaultSettings();
    std::set<String> settings;
    for (const ClientConfKey& key : ClientConfKeyMap()) {
        if (key.setting.IsNone()) continue;
        EXPECT_TRUE(settings.insert(String(key.setting)).second) << String(key.setting.View()).Utf8();
        EXPECT_TRUE(defaults->Exists(key.setting)) << String(key.setting.View()).Utf8();
    }
    EXPECT_EQ(settings.size(), 20U);
}

TEST(ClientConfKeyMap, AnInteractiveRunKeepsItsAnswersForFourOfThem) {
    std::set<String> asked;
    for (const ClientConfKey& key : ClientConfKeyMap()) {
        if (IsQuestionKey(key.setting)) asked.insert(String(key.setting));
    }
    EXPECT_EQ(asked, (std::set<String>{L"BinDir", L"EventQueueDir", L"TasksDir", L"TempDir"}));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
