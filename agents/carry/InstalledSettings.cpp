// Which key of an installed agent's client.conf is which setting.
#include "agents/carry/InstalledSettings.h"

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Ascii.h"
#include "corekit/text/Text.h"
#include "run/Error.h"
#include "run/Names.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;
namespace Path = corekit::Path;

namespace {

/// A setting that is the value of a key as it stands, and the first generation whose files carry it.
struct LoadedKey {
    Generation since;
    const wchar_t* setting;
    const wchar_t* section;
    const wchar_t* key;
};

constexpr LoadedKey kLoadedKeys[] = {
    {Generation::Agent60, L"KSName", Names::kKellServers, L"server-1"},
    {Generation::Agent56, L"InstallDir", Names::kConfiguration, L"installdir"},
    {Generation::Agent56, L"TempDir", Names::kConfiguration, L"tmpdir"},
    {Generation::Agent56, L"BinDir", Names::kConfiguration, L"bindir"},
    {Generation::Agent56, L"LogLevel", Names::kConfiguration, L"debug_level"},
    {Generation::Agent56, L"LogSize", Names::kConfiguration, L"debug_file_size"},
    {Generation::Agent56, L"EventQueueDir", Names::kConfiguration, L"event_queue_dir"},
    {Generation::Agent56, L"TasksDir", Names::kConfiguration, L"task_storage_path"},
    {Generation::Agent60, L"PackagesDir", Names::kConfiguration, L"package_storage_path"},
    {Generation::Agent60, L"SWDDir", Names::kConfiguration, L"swd_storage_path"},
    {Generation::Agent60, L"SysLogLevel", Names::kConfiguration, L"syslog_level"},
    {Generation::Agent56, L"NICError", Names::kConfiguration, L"basicinv_ip_error_return_value"},
    {Generation::Agent60, L"KSUrlFormat", Names::kClientTransport, L"ks_url_format"},
    {Generation::Agent60, L"Description", Names::kClientDetails, L"description"},
};

/// A setting pair that is the directory and the name of a file.
struct LoadedFile {
    const wchar_t* directorySetting;
    const wchar_t* nameSetting;
    const wchar_t* key;
};

constexpr const wchar_t* kGuidFile = L"guid_guid_file";

constexpr LoadedFile kLoadedFiles[] = {
    {L"GuidDir", L"GuidFile", kGuidFile},
    {L"LogDir", L"LogFile", L"debug_output"},
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
    const String& copy = conf.FileName();
    if (!copy.EndsWith(Names::kSavedClientConf)) return path;
    const String newInstallDir = copy.Left(copy.Length() - String(Names::kSavedClientConf).Length());
    RebasePath(path, conf.GetValue(Names::kConfiguration, L"installdir"), newInstallDir);
    return path;
}

/// False, with the error text set, when there may be a file that cannot be read: the run would take the
/// identifier away from a host that has one.
bool LoadGuid(const IniFile& conf, Settings& settings) {
    const String usual = conf.GetValue(Names::kConfiguration, kGuidFile);
    if (usual.IsEmpty()) return true;
    for (const String& path : {usual, CarriedPath(conf, usual)}) {
        String text;
        const corekit::Result read = corekit::File::Read(path, text);
        if (IsTransient(read)) return Error::Fail(L"Missing or unreadable file in install. File: ", path);
        if (!read) continue;
        settings.Value(L"Guid") = GuidIn(text);
        break;
    }
    return true;
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
    if (conf.GetValue(Names::kConfiguration, L"runlevels_start", digits))
        settings.Value(L"RunLevel") = RunLevelItems(digits);
}

void LoadDescription(const IniFile& conf, Settings& settings) {
    String& description = settings.Value(L"Description");
    if (description.IsEmpty()) description = conf.GetValue(Names::kClientDetails, L"descriptions");
}

}  // namespace

std::unique_ptr<Settings> LoadInstalledSettings(const IniFile& conf, Generation generation) {
    auto settings = std::make_unique<Settings>();
    for (const LoadedKey& row : kLoadedKeys) {
        if (row.since <= generation) settings->Value(row.setting) = conf.GetValue(row.section, row.key);
    }
    for (const LoadedFile& row : kLoadedFiles) {
        const String path = conf.GetValue(Names::kConfiguration, row.key);
        settings->Value(row.directorySetting) = Path::GetDirectory(path);
        settings->Value(row.nameSetting) = Path::GetFileName(path);
    }
    if (settings->IsSet(L"NICError")) settings->Value(L"EnableNICError") = L"yes";
    if (generation == Generation::Agent56) return settings;

    if (!LoadGuid(conf, *settings)) return nullptr;
    LoadRunLevel(conf, *settings);
    LoadDescription(conf, *settings);
    return settings;
}

}  // namespace Zorvane::AgentInstaller
