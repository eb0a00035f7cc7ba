// How the keys of client.conf relate: the table, in the order in which its rows are carried.
#include "settings/ClientConfKeyMap.h"

#include <algorithm>

#include "run/Keys.h"

namespace Zorvane::AgentInstaller {

namespace {

using Text = std::wstring_view;

constexpr ClientConfKey Carried(Text key) {
    return {ConfKey(key), ConfKey(key), {}, ValueKind::None, false};
}
constexpr ClientConfKey CarriedPath(Text key) {
    return {ConfKey(key), ConfKey(key), {}, ValueKind::None, true};
}
constexpr ClientConfKey Renamed(Text oldKey, Text newKey) {
    return {ConfKey(oldKey), ConfKey(newKey), {}, ValueKind::None, false};
}
constexpr ClientConfKey Fed(Text key, SettingName setting, ValueKind kind) {
    return {ConfKey(key), ConfKey(key), setting, kind, false};
}
constexpr ClientConfKey PathFed(Text key, SettingName setting, ValueKind kind) {
    return {ConfKey(key), ConfKey(key), setting, kind, true};
}

constexpr ClientConfKey kRows[] = {
    PathFed(L"Configuration/tmpdir", L"TempDir", ValueKind::Path),
    PathFed(L"Configuration/bindir", L"BinDir", ValueKind::Path),
    Carried(L"Configuration/scenario_guid_basicinv"),
    PathFed(L"Configuration/event_queue_dir", L"EventQueueDir", ValueKind::Path),
    Carried(L"Configuration/event_file_extension"),
    PathFed(L"Configuration/task_storage_path", L"TasksDir", ValueKind::Path),
    Carried(L"Configuration/task_file_extension"),
    PathFed(L"Configuration/package_storage_path", L"PackagesDir", ValueKind::Path),
    Carried(L"Configuration/package_disable_server_pings"),
    Carried(L"Configuration/package_refresh_interval"),
    Carried(L"Configuration/package_check_removed_packages_interval"),
    Carried(L"Configuration/package_max_total_tries"),
    Carried(L"Configuration/package_max_total_tries_time"),
    Carried(L"Configuration/package_retry_delay"),
    Carried(L"Configuration/package_retry_delay_factor"),
    Carried(L"Configuration/package_max_retry_delay"),
    Carried(L"Configuration/package_simultaneous_downloads"),
    Carried(L"Configuration/dump_download_queue"),
    PathFed(L"Configuration/swd_storage_path", L"SWDDir", ValueKind::Path),
    CarriedPath(L"Configuration/var"),
    CarriedPath(L"Configuration/debug_output"),
    Carried(L"Configuration/debug_file_layout"),
    Carried(L"Configuration/debug_file_size"),
    Carried(L"Configuration/debug_backup_copies"),
    Carried(L"Configuration/debug_level"),
    Carried(L"Configuration/syslog_level"),
    Carried(L"Configuration/use_https"),
    Carried(L"Configuration/runlevels_start"),
    Carried(L"Configuration/runlevels_stop"),
    CarriedPath(L"Configuration/policies_cache_dir"),
    Fed(L"Configuration/basicinv_use_resolv_conf", L"UseDomain", ValueKind::OneZero),
    Carried(L"Configuration/basicinv_ip_error_return_value"),
    Carried(L"Configuration/basicinv_report_hostname"),
    Carried(L"Configuration/basicinv_report_domain"),
    Carried(L"Client Transport/transport_timeout"),
    Fed(L"Client Transport/ssl_verify_peer", L"SSLVerifyPeer", ValueKind::YesNo),
    Fed(L"Client Transport/ssl_verify_host", L"SSLVerifyHost", ValueKind::YesNo),
    Fed(L"Client Transport/ssl_ca_info", L"CAInfo", ValueKind::OptionalPath),
    Fed(L"Client Transport/ssl_ca_path", L"CAPath", ValueKind::OptionalPath),
    Carried(L"Client Transport/compression_enabled"),
    Carried(L"Client Transport/compression_eventsize"),
    Carried(L"Tickle/enabled"),
    Carried(L"Tickle/tcpip_port"),
    Carried(L"Tickle/multicast_group"),
    Carried(L"Tickle/multicast_port"),
    Carried(L"Tickle/overload_pause_time"),
    Carried(L"Tickle/overload_short_period"),
    Carried(L"Tickle/overload_short_max"),
    Carried(L"Tickle/overload_long_period"),
    Carried(L"Tickle/overload_long_max"),
    Carried(L"Event Queue/level1-delay"),
    Carried(L"Event Queue/level1-retries"),
    Carried(L"Event Queue/level2-delay"),
    Carried(L"Event Queue/level2-retries"),
    Carried(L"Event Queue/level3-delay"),
    Carried(L"Event Queue/level3-retries"),
    Carried(L"Event Queue/level4-delay"),
    Carried(L"Event Queue/level4-retries"),
    Carried(L"Event Queue/level5-delay"),
    Carried(L"Event Queue/level5-retries"),
    Renamed(L"Event Queue/level1-retrys", L"Event Queue/level1-retries"),
    Renamed(L"Event Queue/level2-retrys", L"Event Queue/level2-retries"),
    Renamed(L"Event Queue/level3-retrys", L"Event Queue/level3-retries"),
    Renamed(L"Event Queue/level4-retrys", L"Event Queue/level4-retries"),
    Renamed(L"Event Queue/level5-retrys", L"Event Queue/level5-retries"),
    Carried(L"Event Queue/hold_queue"),
    Carried(L"MachineID/connectivity_check_period"),
    Carried(L"MachineID/primary_user_last_logons"),
    Carried(L"MachineID/ps_integration_dir"),
    Carried(L"MachineID/ps_send_apache_role"),
    Carried(L"MachineID/connectivity_lan_time"),
    Carried(L"MachineID/connectivity_wan_time"),
    Carried(L"MachineID/connectivity_none_time"),
    Carried(L"MachineID/connectivity_total_time"),
    CarriedPath(L"Object Manager/IORFilePath"),
    Carried(L"Object Manager/checkperiod"),
    Carried(L"Object Manager/system_boot_time"),
    Carried(L"Agent Monitor/wait_policies_update"),
    Carried(L"Agent Monitor/agent_checkup_interval"),
    Carried(L"Agent Monitor/diagnostics_startup_interval"),
    Carried(L"Agent Monitor/diagnostics_timeout"),
    Carried(L"Policy Manager/policies_request_interval"),
    Carried(L"Policy Manager/basicinv_send_interval"),
    Carried(L"SWD/swd_temporary_dir"),
    Carried(L"SWD/swd_lowpriority"),
    Carried(L"SWD/swd_normalpriority"),
    Carried(L"SWD/swd_highpriority"),
    Carried(L"SWD/swd_veryhighpriority"),
    Carried(L"SWD/pkg_access_username"),
    Carried(L"SWD/pkg_access_password"),
    Carried(L"SWD/swd_max_output_history_length"),
    CarriedPath(L"Httpd Integration/apache_exe_location"),
    CarriedPath(L"Httpd Integration/apache_config_location"),
    Carried(L"Httpd Integration/integrate_with"),
    Carried(L"Httpd Integration/authfiles_location"),
    Carried(L"Httpd Integration/ifdefine_variables"),
    Carried(L"Httpd Integration/chroot_mapping"),
    Fed(L"Client Details/SerialNumber", L"SerialNumber", ValueKind::FreeText),
    Fed(L"Client Details/AssetTag", L"AssetTag", ValueKind::FreeText),
    Fed(L"Client Details/EmployeeID", L"EmployeeID", ValueKind::FreeText),
    Fed(L"Client Details/ContactName", L"ContactName", ValueKind::FreeText),
    Fed(L"Client Details/ContactPhone", L"ContactPhone", ValueKind::FreeText),
    Fed(L"Client Details/ContactEmail", L"ContactEmail", ValueKind::FreeText),
    Fed(L"Client Details/Location", L"Location", ValueKind::FreeText),
    Fed(L"Client Details/Department", L"Department", ValueKind::FreeText),
    Fed(L"Client Details/Description", L"Description", ValueKind::FreeText),
    Renamed(L"Configuration/transport_timeout", L"Client Transport/transport_timeout"),
    Renamed(L"Configuration/httppost_var_name", L"Client Transport/httppost_var_name"),
    Renamed(L"Configuration/swd_temporary_dir", L"SWD/swd_temporary_dir"),
};

constexpr bool IsComplete(const ConfKey& path) {
    return !path.section.empty() && !path.key.empty() && path.key.find(L'/') == Text::npos;
}

constexpr bool AreOldKeysUnique() {
    for (auto row = std::begin(kRows); row != std::end(kRows); ++row) {
        if (std::any_of(std::begin(kRows), row,
                        [&](const ClientConfKey& before) { return before.oldKey == row->oldKey; }))
            return false;
    }
    return true;
}

static_assert(std::size(kRows) == 109);
static_assert(AreOldKeysUnique());
static_assert(std::ranges::all_of(kRows, [](const ClientConfKey& row) {
    return IsComplete(row.oldKey) && IsComplete(row.newKey) &&
           (row.kind == ValueKind::None) == row.setting.IsNone();
}));

}  // namespace

corekit::String FreeText(const corekit::String& value) {
    const corekit::String word = value.Trim().Lower();
    return word == L"null" || word == L"none" ? corekit::String() : value;
}

std::span<const ClientConfKey> ClientConfKeyMap() {
    return kRows;
}

}  // namespace Zorvane::AgentInstaller
