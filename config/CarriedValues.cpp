// The values that the new client.conf takes over: the walk over the key table.
#include "config/CarriedValues.h"

#include "run/Keys.h"
#include "run/Names.h"
#include "settings/ClientConfKeyMap.h"
#include "settings/InstalledValues.h"
#include "settings/PathMacros.h"
#include "settings/Questions.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;

namespace {

/// Settings that are part of a path which the key table does not carry.
constexpr SettingName kRebasedSettings[] = {L"GuidDir", L"LogDir"};

bool IsAnswered(SettingName setting, const Settings& settings) {
    return settings.IsYes(L"IsInteractive") && IsQuestionKey(setting);
}

/// True if the setting does not take the old value: it is this run's that counts.
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
