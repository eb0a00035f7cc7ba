// The keys of client.conf that settings feed: by the key table, by rules of their own, and as they stand.
#include "config/ClientConfSettings.h"

#include <optional>

#include "config/SystemProbes.h"
#include "corekit/text/Text.h"
#include "run/Keys.h"
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
        if (written) SetValue(ini, row.newKey, *written);
    }
}

String NicError(const Settings& settings) {
    if (!corekit::Text::StrToBool(settings.Get(L"EnableNICError"))) return String();
    return settings.Exists(L"NICError") ? settings.Get(L"NICError") : L"NameServ Error";
}

/// The path of a file: settings name its directory and the file in it.
struct FileKey {
    ConfKey key;
    SettingName directory;
    SettingName name;
};
constexpr FileKey kFileKeys[] = {
    {Key::kGuidFile, L"GuidDir", L"GuidFile"},
    {Key::kDebugOutput, L"LogDir", L"LogFile"},
};

/// A setting as it stands, or a value of the agent's where that is empty.
struct TextKey {
    ConfKey key;
    SettingName setting;
    const wchar_t* fallback;
};
constexpr TextKey kTextKeys[] = {
    {Key::kDebugFileSize, L"LogSize", L"1024"},
    {Key::kDebugLevel, L"LogLevel", L"info"},
    {Key::kSyslogLevel, L"SysLogLevel", L"none"},
};

void ApplyFixedKeys(IniFile& ini, const Settings& settings) {
    const auto set = [&](const ConfKey& key, const String& value) { SetValue(ini, key, value); };
    set(Key::kNicError, NicError(settings));
    for (const FileKey& row : kFileKeys) {
        set(row.key, FileBelow(Expanded(settings.Get(row.directory), settings), settings.Get(row.name)));
    }
    for (const TextKey& row : kTextKeys) {
        set(row.key, settings.IsSet(row.setting) ? settings.Get(row.setting) : row.fallback);
    }
    if (settings.Exists(L"KSUrlFormat")) {
        SetValue(ini, Key::kUrlFormat, settings.Get(L"KSUrlFormat"));
    }
    const RunLevels levels = SplitRunLevels(settings.Get(L"RunLevel"));
    set(Key::kStartLevels, levels.startList);
    set(Key::kStopLevels, levels.stopList);
}

/// What no other key holds is kept for the next upgrade, at the end of the file.
void Record(IniFile& ini, const Settings& settings) {
    for (const Key::RecordedKey& row : Key::kRecorded) {
        if (settings.Get(row.setting) == L"no") SetValue(ini, row.key, L"no");
    }
}

}  // namespace

bool ApplySettingsToClientConf(IniFile& ini, const Settings& settings) {
    ApplyKeyTable(ini, settings);
    ApplyFixedKeys(ini, settings);
    for (const ExtraSetting& extra : settings.Extra()) ini.SetValue(extra.Section, extra.Name, extra.Value);
    Record(ini, settings);
    return true;
}

}  // namespace Zorvane::AgentInstaller
