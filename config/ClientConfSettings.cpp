// The keys of client.conf that settings feed: by the key table, by rules of their own, and as they stand.
#include "config/ClientConfSettings.h"

#include <optional>

#include "config/GuidFile.h"
#include "config/SystemProbes.h"
#include "corekit/text/Text.h"
#include "run/Names.h"
#include "settings/ClientConfKeyMap.h"
#include "settings/PathMacros.h"

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

/// The path of a file: settings name its directory and the file in it.
struct FileKey {
    const wchar_t* key;
    const wchar_t* directory;
    const wchar_t* name;
};
constexpr FileKey kFileKeys[] = {
    {L"guid_guid_file", L"GuidDir", L"GuidFile"},
    {L"debug_output", L"LogDir", L"LogFile"},
};

/// A setting as it stands, or a value of the agent's where that is empty.
struct TextKey {
    const wchar_t* key;
    const wchar_t* setting;
    const wchar_t* fallback;
};
constexpr TextKey kTextKeys[] = {
    {L"debug_file_size", L"LogSize", L"1024"},
    {L"debug_level", L"LogLevel", L"info"},
    {L"syslog_level", L"SysLogLevel", L"none"},
};

void ApplyFixedKeys(IniFile& ini, const Settings& settings) {
    const auto set = [&](const wchar_t* key, const String& value) {
        ini.SetValue(Names::kConfiguration, key, value);
    };
    set(L"basicinv_ip_error_return_value", NicError(settings));
    for (const FileKey& row : kFileKeys) {
        set(row.key, FileBelow(Expanded(settings.Get(row.directory), settings), settings.Get(row.name)));
    }
    for (const TextKey& row : kTextKeys) {
        set(row.key, settings.IsSet(row.setting) ? settings.Get(row.setting) : row.fallback);
    }
    if (settings.Exists(L"KSUrlFormat")) {
        ini.SetValue(Names::kClientTransport, L"ks_url_format", settings.Get(L"KSUrlFormat"));
    }
    const RunLevels levels = SplitRunLevels(settings.Get(L"RunLevel"));
    set(L"runlevels_start", levels.startList);
    set(L"runlevels_stop", levels.stopList);
}

}  // namespace

bool ApplySettingsToClientConf(IniFile& ini, const Settings& settings) {
    ApplyKeyTable(ini, settings);
    ApplyFixedKeys(ini, settings);
    WriteGuidFile(ini, settings);
    for (const ExtraSetting& extra : settings.Extra()) ini.SetValue(extra.Section, extra.Name, extra.Value);
    return true;
}

}  // namespace Zorvane::AgentInstaller
