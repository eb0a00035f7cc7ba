// The names of the settings and the keys of client.conf: a name that does not stand here does not compile.
#pragma once

#include <algorithm>
#include <compare>
#include <iterator>
#include <string_view>

#include "corekit/ini/IniFile.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// All settings: first those of the XML file, then those that only the program sets.
inline constexpr std::wstring_view kSettingNames[] = {
    L"KSName",         L"KSProtocol",    L"Guid",          L"UseKSIPAddress",  L"UseDomain",
    L"EnableNICError", L"Upgrade",       L"Start",         L"AllowNonRoot",    L"StartupOnBoot",
    L"RunLevel",       L"SSLVerifyPeer", L"SSLVerifyHost", L"CAInfo",          L"CAPath",
    L"LogDir",         L"LogFile",       L"LogSize",       L"LogLevel",        L"SysLogLevel",
    L"InstallDir",     L"BinDir",        L"TempDir",       L"GuidDir",         L"GuidFile",
    L"EventQueueDir",  L"TasksDir",      L"PackagesDir",   L"SWDDir",          L"SerialNumber",
    L"AssetTag",       L"EmployeeID",    L"ContactName",   L"ContactPhone",    L"ContactEmail",
    L"Location",       L"Department",    L"Description",   L"KSUrlFormat",     L"NICError",
    L"KSNameChanged",  L"IsInteractive", L"XML",           L"InstalledKSName",
};

/// The name of a setting. It is made from a literal that stands in the table, as in
/// `settings.Get(L"InstallDir")`; the compiler refuses any other.
class SettingName {
  public:
    /// No setting: its value is always empty.
    constexpr SettingName() = default;
    consteval SettingName(const wchar_t* name) : m_name(name) {
        if (std::ranges::find(kSettingNames, m_name) == std::end(kSettingNames)) ThereIsNoSuchSetting();
    }

    constexpr std::wstring_view View() const { return m_name; }
    constexpr bool IsNone() const { return m_name.empty(); }
    operator corekit::String() const { return m_name; }

    // The analyser takes the comparison that the compiler makes for one with a null pointer.
    constexpr auto operator<=>(const SettingName&) const = default;  // NOLINT(modernize-use-nullptr)

  private:
    static void ThereIsNoSuchSetting();  // not defined: the compiler, which cannot call it, shows its name

    std::wstring_view m_name;
};

/// A key of client.conf with its section, made from "Section/key".
struct ConfKey {
    constexpr explicit ConfKey(std::wstring_view path)
        : section(path.substr(0, path.find(L'/'))),
          key(path.substr(std::min(section.size() + 1, path.size()))) {}

    constexpr auto operator<=>(const ConfKey&) const = default;

    std::wstring_view section;
    std::wstring_view key;
};

/// The value of a key; "" when the file lacks it.
inline corekit::String GetValue(const corekit::IniFile& conf, const ConfKey& key) {
    return conf.GetValue(key.section, key.key);
}

/// False, and `value` untouched, when the file lacks the key.
inline bool GetValue(const corekit::IniFile& conf, const ConfKey& key, corekit::String& value) {
    return conf.GetValue(key.section, key.key, value);
}

/// The keys that the program itself reads or writes; settings/ClientConfKeyMap.cpp has those that are only
/// carried over.
namespace Key {
inline constexpr ConfKey kInstallDir(L"Configuration/installdir");
inline constexpr ConfKey kBinDir(L"Configuration/bindir");
inline constexpr ConfKey kLibDir(L"Configuration/libdir");
inline constexpr ConfKey kTmpDir(L"Configuration/tmpdir");
inline constexpr ConfKey kVar(L"Configuration/var");
inline constexpr ConfKey kGuidFile(L"Configuration/guid_guid_file");
inline constexpr ConfKey kEventQueueDir(L"Configuration/event_queue_dir");
inline constexpr ConfKey kEventFileExtension(L"Configuration/event_file_extension");
inline constexpr ConfKey kTaskDir(L"Configuration/task_storage_path");
inline constexpr ConfKey kTaskFileExtension(L"Configuration/task_file_extension");
inline constexpr ConfKey kPackageDir(L"Configuration/package_storage_path");
inline constexpr ConfKey kSwdDir(L"Configuration/swd_storage_path");
inline constexpr ConfKey kDebugOutput(L"Configuration/debug_output");
inline constexpr ConfKey kDebugFileSize(L"Configuration/debug_file_size");
inline constexpr ConfKey kDebugLevel(L"Configuration/debug_level");
inline constexpr ConfKey kSyslogLevel(L"Configuration/syslog_level");
inline constexpr ConfKey kStartLevels(L"Configuration/runlevels_start");
inline constexpr ConfKey kStopLevels(L"Configuration/runlevels_stop");
inline constexpr ConfKey kNicError(L"Configuration/basicinv_ip_error_return_value");
inline constexpr ConfKey kSubAgentNames(L"Configuration/sub_agent_names");
inline constexpr ConfKey kSubAgentVersions(L"Configuration/sub_agent_versions");
inline constexpr ConfKey kSubAgentBuilds(L"Configuration/sub_agent_build_nums");
inline constexpr ConfKey kSubAgentPaths(L"Configuration/sub_agent_paths");
inline constexpr ConfKey kAgentRoles(L"Configuration/agent_roles");
inline constexpr ConfKey kServer(L"Kell Servers/server-1");
inline constexpr ConfKey kUrlFormat(L"Client Transport/ks_url_format");
inline constexpr ConfKey kCAInfo(L"Client Transport/ssl_ca_info");
inline constexpr ConfKey kCAPath(L"Client Transport/ssl_ca_path");
inline constexpr ConfKey kDescription(L"Client Details/description");
inline constexpr ConfKey kDescriptions(L"Client Details/descriptions");
inline constexpr ConfKey kAllowNonRoot(L"Installation/allow_non_root");
inline constexpr ConfKey kStartupOnBoot(L"Installation/startup_on_boot");
inline constexpr ConfKey kEnableNicError(L"Installation/enable_nic_error");
inline constexpr ConfKey kAgentMajor(L"Version/agent_major");
inline constexpr ConfKey kAgentMinor(L"Version/agent_minor");
inline constexpr ConfKey kAgentBuild(L"Version/agent_build");

/// Settings that no other key holds, recorded where they are "no".
struct RecordedKey {
    ConfKey key;
    SettingName setting;
};
inline constexpr RecordedKey kRecorded[] = {
    {kAllowNonRoot, L"AllowNonRoot"},
    {kStartupOnBoot, L"StartupOnBoot"},
    {kEnableNicError, L"EnableNICError"},
};

/// The directories that hold the agent's data.
inline constexpr ConfKey kStores[] = {kEventQueueDir, kTaskDir, kSwdDir, kPackageDir};
}  // namespace Key

}  // namespace Zorvane::AgentInstaller
