// Which key of an installed agent's client.conf is which setting.
#include "agents/carry/InstalledSettings.h"

#include "config/ClientConfDraft.h"
#include "config/GuidFile.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Character.h"
#include "corekit/text/Text.h"
#include "run/Failure.h"
#include "run/Keys.h"
#include "run/Names.h"
#include "settings/PathMacros.h"
#include "settings/XmlConfig.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;
namespace Path = corekit::Path;

namespace {

/// A setting that is the value of a key as it stands, and the first generation whose files carry it.
struct LoadedKey {
    Generation since;
    SettingName setting;
    ConfKey key;
};

constexpr LoadedKey kLoadedKeys[] = {
    {Generation::Agent60, L"KSName", Key::kServer},
    {Generation::Agent56, L"InstallDir", Key::kInstallDir},
    {Generation::Agent56, L"TempDir", Key::kTmpDir},
    {Generation::Agent56, L"BinDir", Key::kBinDir},
    {Generation::Agent56, L"LogLevel", Key::kDebugLevel},
    {Generation::Agent56, L"LogSize", Key::kDebugFileSize},
    {Generation::Agent56, L"EventQueueDir", Key::kEventQueueDir},
    {Generation::Agent56, L"TasksDir", Key::kTaskDir},
    {Generation::Agent60, L"PackagesDir", Key::kPackageDir},
    {Generation::Agent60, L"SWDDir", Key::kSwdDir},
    {Generation::Agent60, L"SysLogLevel", Key::kSyslogLevel},
    {Generation::Agent56, L"NICError", Key::kNicError},
    {Generation::Agent60, L"KSUrlFormat", Key::kUrlFormat},
    {Generation::Agent60, L"Description", Key::kDescription},
};

// Where agents of version 5.6 had their GUID file when client.conf did not say.
constexpr const wchar_t* kGuidFile56 = L"/opt/zorvane/kell/ksagent/etc/host.GUID";

/// A setting pair that is the directory and the name of a file.
struct LoadedFile {
    SettingName directorySetting;
    SettingName nameSetting;
    ConfKey key;
};

constexpr LoadedFile kLoadedFiles[] = {
    {L"GuidDir", L"GuidFile", Key::kGuidFile},
    {L"LogDir", L"LogFile", Key::kDebugOutput},
};

/// The text of a GUID file without the line "null" that ends it.
String GuidIn(const String& text) {
    corekit::StringTokenizer lines(text, L"\n");
    String guid;
    for (String line; lines.GetToken(line);) {
        if (line.Trim() != L"null") guid += line + L"\n";
    }
    return guid.Trim();
}

/// Where an upgrade that was interrupted has carried a file: below the directory in which it saved its copy
/// of the configuration.
String CarriedPath(const IniFile& conf, String path) {
    const auto newInstallDir = conf.FileName().WithoutSuffix(Names::kSavedClientConf);
    if (newInstallDir) RebasePath(path, GetValue(conf, Key::kInstallDir), *newInstallDir);
    return path;
}

Outcome<> LoadGuid(const IniFile& conf, Generation generation, Settings& settings) {
    String configured = GetValue(conf, Key::kGuidFile);
    if (configured.IsEmpty() && generation == Generation::Agent56) configured = kGuidFile56;
    if (configured.IsEmpty()) return {};
    for (const String& path : {configured, CarriedPath(conf, configured)}) {
        const auto text = ReadGuidFile(path);
        if (IsTransient(text.Outcome())) return FailAt(Texts::kUnreadableFile, path, text.error());
        if (!text) continue;
        const String guid = GuidIn(*text);
        // The file of version 5.6 stays as it is; that of a later one gets this version's form.
        const String given = generation == Generation::Agent56 ? *text : GuidFileText(guid);
        settings.Set(L"Guid", {guid, {Source::Kind::Installed, path, 1}, given});
        break;
    }
    return {};
}

/// "2 3 5" and "235" become "rc2;rc3;rc5;".
String RunLevelItems(const String& digits) {
    String items;
    for (const wchar_t digit : digits) {
        if (!corekit::IsDigit(digit)) continue;
        items += L"rc";
        items += digit;
        items += L';';
    }
    return items;
}

void LoadRunLevel(const IniFile& conf, Settings& settings) {
    String digits;
    if (GetValue(conf, Key::kStartLevels, digits))
        settings.Set(L"RunLevel", {RunLevelItems(digits), SourceOf(conf, Key::kStartLevels), digits});
}

/// Loads the description from the first of its two keys that has one. A file of version 5.6 without any gives
/// no such setting.
void LoadDescription(const IniFile& conf, Settings& settings) {
    for (const ConfKey& key : {Key::kDescription, Key::kDescriptions}) {
        const String description = GetValue(conf, key);
        if (!settings.IsSet(L"Description") && !description.IsEmpty())
            settings.Set(L"Description", description, SourceOf(conf, key));
    }
}

/// Loads the settings that client.conf records because no other key holds them; only a "no" is recorded.
void LoadRecordedSettings(const IniFile& conf, Settings& settings) {
    for (const Key::RecordedKey& row : Key::kRecorded) {
        if (IsWordForNo(GetValue(conf, row.key))) settings.Set(row.setting, L"no", SourceOf(conf, row.key));
    }
}

}  // namespace

Outcome<std::unique_ptr<Settings>> LoadInstalledSettings(const IniFile& conf, Generation generation) {
    if (!conf.ReadResult()) return FailAt(Texts::kUnreadableFile, conf.FileName(), conf.ReadResult());
    auto settings = std::make_unique<Settings>();
    for (const LoadedKey& row : kLoadedKeys) {
        if (row.since <= generation)
            settings->Set(row.setting, GetValue(conf, row.key), SourceOf(conf, row.key));
    }
    // The new server is not taken from it, but compared with it.
    if (generation == Generation::Agent56)
        settings->Set(L"InstalledKSName", GetValue(conf, Key::kServer), SourceOf(conf, Key::kServer));
    for (const LoadedFile& row : kLoadedFiles) {
        const String path = GetValue(conf, row.key);
        settings->Set(row.directorySetting, Path::GetDirectory(path), SourceOf(conf, row.key));
        settings->Set(row.nameSetting, Path::GetFileName(path), SourceOf(conf, row.key));
    }
    if (settings->IsSet(L"NICError"))
        settings->Set(L"EnableNICError", L"yes", SourceOf(conf, Key::kNicError));
    if (const auto loaded = LoadGuid(conf, generation, *settings); !loaded) return loaded.error();
    LoadRunLevel(conf, *settings);
    LoadDescription(conf, *settings);
    LoadRecordedSettings(conf, *settings);
    return settings;
}

}  // namespace Zorvane::AgentInstaller
