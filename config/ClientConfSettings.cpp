// The keys of client.conf that settings feed: by the key table, by rules of their own, and as they stand.
#include "config/ClientConfSettings.h"

#include <optional>

#include "config/GuidFile.h"
#include "config/PathMacros.h"
#include "config/SystemProbes.h"
#include "corekit/Text.h"
#include "run/Names.h"
#include "settings/ClientConfKeyMap.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;

namespace {

String Expanded(const String& path, const Settings& settings) {
    return ExpandPathMacros(path, settings.Get(L"InstallDir"));
}

String OptionalPath(const String& path) {
    return path.IsEmpty() ? path : MakeAbsolutePath(path);
}

/// Free text, where "null" and "none" stand for nothing.
String FreeText(const String& value) {
    const String word = value.Trim().Lower();
    return word == L"null" || word == L"none" ? String() : value;
}

/// A setting in the form that its kind has in the file; none for a row that no setting feeds.
std::optional<String> Written(const String& value, ValueKind kind, const Settings& settings) {
    switch (kind) {
        case ValueKind::YesNo:
            return corekit::Text::StrToBool(value) ? L"yes" : L"no";
        case ValueKind::OneZero:
            return corekit::Text::StrToBool(value) ? L"1" : L"0";
        case ValueKind::FreeText:
            return FreeText(value);
        case ValueKind::OptionalPath:
            return OptionalPath(Expanded(value, settings));
        case ValueKind::Path:
            return MakeAbsolutePath(Expanded(value, settings));
        case ValueKind::None:
            break;
    }
    return std::nullopt;
}

void ApplyKeyTable(IniFile& ini, const Settings& settings) {
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        const auto written = Written(settings.Get(row.setting), row.kind, settings);
        if (written) ini.SetValue(row.newKey.section, row.newKey.key, *written);
    }
}

String NicError(const Settings& settings) {
    if (!corekit::Text::StrToBool(settings.Get(L"EnableNICError"))) return String();
    return settings.Exists(L"NICError") ? settings.Get(L"NICError") : L"NameServ Error";
}

String ConfiguredFile(const Settings& settings, const wchar_t* directory, const wchar_t* name) {
    return FileBelow(Expanded(settings.Get(directory), settings), settings.Get(name));
}
String GuidFile(const Settings& settings) {
    return ConfiguredFile(settings, L"GuidDir", L"GuidFile");
}
String LogFile(const Settings& settings) {
    return ConfiguredFile(settings, L"LogDir", L"LogFile");
}

String ValueOr(const Settings& settings, const wchar_t* setting, const wchar_t* fallback) {
    return settings.IsSet(setting) ? settings.Get(setting) : String(fallback);
}
String LogSize(const Settings& settings) {
    return ValueOr(settings, L"LogSize", L"1024");
}
String LogLevel(const Settings& settings) {
    return ValueOr(settings, L"LogLevel", L"info");
}
String SysLogLevel(const Settings& settings) {
    return ValueOr(settings, L"SysLogLevel", L"none");
}

constexpr const wchar_t* kGuidFileKey = L"guid_guid_file";

/// A key of section Configuration whose value has a rule of its own.
struct FixedKey {
    const wchar_t* key;
    String (*value)(const Settings& settings);
};
constexpr FixedKey kFixedKeys[] = {
    {L"basicinv_ip_error_return_value", NicError},
    {kGuidFileKey, GuidFile},
    {L"debug_output", LogFile},
    {L"debug_file_size", LogSize},
    {L"debug_level", LogLevel},
    {L"syslog_level", SysLogLevel},
};

void ApplyFixedKeys(IniFile& ini, const Settings& settings) {
    for (const FixedKey& row : kFixedKeys) ini.SetValue(Names::kConfiguration, row.key, row.value(settings));
    if (settings.Exists(L"KSUrlFormat")) {
        ini.SetValue(Names::kClientTransport, L"ks_url_format", settings.Get(L"KSUrlFormat"));
    }
    const RunLevels levels = SplitRunLevels(settings.Get(L"RunLevel"));
    ini.SetValue(Names::kConfiguration, L"runlevels_start", levels.startList);
    ini.SetValue(Names::kConfiguration, L"runlevels_stop", levels.stopList);
}

}  // namespace

bool ApplySettingsToClientConf(IniFile& ini, const Settings& settings) {
    ApplyKeyTable(ini, settings);
    ApplyFixedKeys(ini, settings);
    WriteGuidFile(ini.GetValue(Names::kConfiguration, kGuidFileKey), settings);
    for (const ExtraSetting& extra : settings.Extra()) ini.SetValue(extra.Section, extra.Name, extra.Value);
    return true;
}

}  // namespace Zorvane::AgentInstaller
