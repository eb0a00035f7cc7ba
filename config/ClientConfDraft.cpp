// Fills in the template, the values that settings feed and those of an installed agent's file.
#include "config/ClientConfDraft.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "config/SystemProbes.h"
#include "corekit/text/Text.h"
#include "run/Keys.h"
#include "settings/ClientConfKeyMap.h"
#include "settings/InstalledValues.h"
#include "settings/PathMacros.h"
#include "settings/Questionnaire.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;

namespace {

constexpr const wchar_t* kServerMacro = L"%KSNAME%";

/// A value of the template that is nothing but a macro, and the setting which that stands for.
struct MacroRow {
    const wchar_t* value;
    SettingName setting;
};
constexpr MacroRow kMacros[] = {{kServerMacro, L"KSName"}, {L"%INSTDIR%", L"InstallDir"}};

/// The value with a blank for each line end: it brings no lines of its own into the file.
String OneLine(String value) {
    return value.Replace(L"\n", L" ").Replace(L"\r", L" ");
}

String FilledIn(String text, const Settings& settings) {
    text.Replace(kServerMacro, OneLine(settings.Get(L"KSName")));
    return ExpandPathMacros(text, OneLine(settings.Get(L"InstallDir")));
}

}  // namespace

ClientConfDraft::ClientConfDraft(const String& path, const String& text, const Settings& settings)
    : m_ini(path, FilledIn(text, settings)) {}

void ClientConfDraft::Set(const String& section, const String& key, const String& value,
                          const Source& source) {
    m_ini.SetValue(section, key, value);
    m_sources[{section, key}] = source;
}

KeySources SourcesOfTemplate(const IniFile& packageTemplate) {
    KeySources sources;
    for (const IniFile::Entry& entry : packageTemplate.AllEntries()) {
        const auto* const macro = std::ranges::find(kMacros, entry.value, &MacroRow::value);
        const Source source = macro != std::end(kMacros)
                                  ? SourceOf(macro->setting)
                                  : Source{Source::Kind::Template, packageTemplate.FileName(), entry.line};
        sources.emplace(std::pair(entry.section, entry.key), source);
    }
    return sources;
}

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

/// Records for the next upgrade, at the end of the file, those settings that are "no" and that no other key
/// holds.
void RecordSettings(ClientConfDraft& draft, const Settings& settings) {
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
    RecordSettings(draft, settings);
    return true;
}

namespace {

/// Settings that are part of a path which the key table does not carry.
constexpr SettingName kRebasedSettings[] = {L"GuidDir", L"LogDir"};

bool IsAnswered(SettingName setting, const Settings& settings) {
    return settings.IsYes(L"IsInteractive") && IsQuestionKey(setting);
}

/// True if the value that this run was given counts, and not the old one.
bool KeepsItsValue(SettingName setting, const Settings& settings) {
    return IsAnswered(setting, settings) || OverridesInstalled(settings, setting);
}

}  // namespace

void CarryOldValues(const IniFile& oldIni, ClientConfDraft& draft, Settings& settings) {
    const String oldInstallDir = GetValue(oldIni, Key::kInstallDir);
    const String newInstallDir = settings.Get(L"InstallDir");
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        String given;
        const String oldKey = String(row.oldKey.key).Lower();
        if (!oldIni.GetValue(row.oldKey.section, oldKey, given)) continue;
        if (row.isPath && given.IsEmpty()) continue;
        String value = given;
        if (row.isPath) RebasePath(value, oldInstallDir, newInstallDir);
        const Source source = SourceOf(oldIni, row.oldKey.section, oldKey);
        draft.Set(row.newKey, value, source);
        if (!row.setting.IsNone() && !KeepsItsValue(row.setting, settings))
            settings.Set(row.setting, {value, source, given});
    }
    for (const SettingName setting : kRebasedSettings) {
        const bool isTyped = settings.Record(setting).used.source.kind == Source::Kind::Xml;
        if (!isTyped && !IsAnswered(setting, settings))
            RebasePath(settings.Value(setting), oldInstallDir, newInstallDir);
    }
}

}  // namespace Zorvane::AgentInstaller
