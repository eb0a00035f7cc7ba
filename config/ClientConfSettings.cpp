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

void ApplyKeyTable(ClientConfDraft& draft, const Settings& settings) {
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        const auto written = Written(settings.Get(row.setting), row.kind, settings);
        if (written) draft.Set(row.newKey, *written, SourceOf(row.setting));
    }
}

void ApplyNicError(ClientConfDraft& draft, const Settings& settings) {
    const bool isOn = corekit::Text::StrToBool(settings.Get(L"EnableNICError"));
    if (isOn && settings.Exists(L"NICError"))
        draft.Set(Key::kNicError, settings.Get(L"NICError"), SourceOf(L"NICError"));
    else
        draft.Set(Key::kNicError, isOn ? L"NameServ Error" : L"", SourceOf(L"EnableNICError"));
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

void ApplyFixedKeys(ClientConfDraft& draft, const Settings& settings) {
    ApplyNicError(draft, settings);
    for (const FileKey& row : kFileKeys) {
        const String directory = Expanded(settings.Get(row.directory), settings);
        draft.Set(row.key, FileBelow(directory, settings.Get(row.name)), SourceOf(row.directory));
    }
    for (const TextKey& row : kTextKeys) {
        if (settings.IsSet(row.setting))
            draft.Set(row.key, settings.Get(row.setting), SourceOf(row.setting));
        else
            draft.Set(row.key, row.fallback, {Source::Kind::Program});
    }
    if (settings.Exists(L"KSUrlFormat"))
        draft.Set(Key::kUrlFormat, settings.Get(L"KSUrlFormat"), SourceOf(L"KSUrlFormat"));
    const RunLevels levels = SplitRunLevels(settings.Get(L"RunLevel"));
    draft.Set(Key::kStartLevels, levels.startList, SourceOf(L"RunLevel"));
    draft.Set(Key::kStopLevels, levels.stopList, SourceOf(L"RunLevel"));
}

/// What no other key holds is kept for the next upgrade, at the end of the file.
void Record(ClientConfDraft& draft, const Settings& settings) {
    for (const Key::RecordedKey& row : Key::kRecorded) {
        if (settings.Get(row.setting) == L"no") draft.Set(row.key, L"no", SourceOf(row.setting));
    }
}

}  // namespace

bool ApplySettingsToClientConf(ClientConfDraft& draft, const Settings& settings) {
    ApplyKeyTable(draft, settings);
    ApplyFixedKeys(draft, settings);
    for (const ExtraSetting& extra : settings.Extra())
        draft.Set(extra.Section, extra.Name, extra.Value, extra.source);
    Record(draft, settings);
    return true;
}

}  // namespace Zorvane::AgentInstaller
