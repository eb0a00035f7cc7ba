// Taking an agent of version 6.x off the disk, led by its client.conf.
#include "agents/FileRemoval60.h"

#include <algorithm>
#include <functional>

#include "agents/ConfiguredPaths.h"
#include "corekit/Dir.h"
#include "corekit/File.h"
#include "corekit/HostDirectories.h"
#include "corekit/Path.h"
#include "run/Names.h"
#include "run/ReinstallMarker.h"

namespace Zorvane::AgentInstaller {

using corekit::Dir;
using corekit::FileInfo;
using corekit::Forgive;
using corekit::IniFile;
using corekit::String;
namespace File = corekit::File;

namespace {

// What a store is named after: a GUID in braces.
constexpr wchar_t kGuidPattern[] =
    L"{[a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9]"
    L"-[a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9]"
    L"-[a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9]"
    L"-[a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9]"
    L"-[a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9]"
    L"[a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9][a-fA-F0-9]}";

/// Data files whose extension the agent was free to configure.
struct DataFiles {
    const wchar_t* store;
    const wchar_t* extensionKey;
    const wchar_t* usualExtension;
};

constexpr DataFiles kDataFiles[] = {
    {L"event_queue_dir", L"event_file_extension", L".kse"},
    {L"task_storage_path", L"task_file_extension", L".kst"},
};

struct StoredFiles {
    const wchar_t* store;
    const wchar_t* pattern;
};

constexpr StoredFiles kStoredFiles[] = {
    {L"event_queue_dir", L"*.ksi*"},         {L"event_queue_dir", L"*.??????"},
    {L"swd_storage_path", kGuidPattern},     {L"swd_storage_path", L"Packages/.qdn-package-*"},
    {L"swd_storage_path", L"Packages"},      {L"package_storage_path", kGuidPattern},
    {L"package_storage_path", L"qdn-*.log"}, {L"package_storage_path", L".qdn-pkg-xml-*"},
};

// Below the install directory.
constexpr const wchar_t* kGeneratedFiles[] = {
    L"etc/client.conf.old", L"etc/config.xml",     L"etc/om-ior",      L"etc/host.GUID",
    L"etc/UserLog.ini",     L"etc/.upgrade",       L"bin/runit.sh",    L"bin/qdn-env",
    L"bin/rcscript",        L"var/qdn-client.log", L"qdn-install.log",
};
constexpr const wchar_t* kEtc = L"etc";
constexpr const wchar_t* kClientConfName = L"client.conf";
constexpr const wchar_t* kClientConf = L"etc/client.conf";
constexpr const wchar_t* kBackupCopies = L"etc/client.conf.??????";
constexpr const wchar_t* kInstallerFiles[] = {L"qdn-bootstrap", L"qdn-ksclt-install.log"};

void RemoveStoredFiles(const IniFile& conf) {
    for (const DataFiles& row : kDataFiles) {
        const String directory = ConfiguredDirectory(conf, row.store);
        String extension = conf.GetValue(Names::kConfiguration, row.extensionKey);
        if (extension.IsEmpty()) extension = row.usualExtension;
        if (directory.IsEmpty() || extension.Contains(L"/")) continue;
        Forgive(File::RemoveEx(directory + L"*" + extension));
    }
    for (const StoredFiles& row : kStoredFiles) {
        const String directory = ConfiguredDirectory(conf, row.store);
        if (!directory.IsEmpty()) Forgive(File::RemoveEx(directory + row.pattern));
    }
}

/// The settings document of a server, named after it with and without its port. What a server's name holds is
/// never a wildcard, and never leads to another directory.
void RemoveServerDocuments(const IniFile& conf, const String& varDir) {
    const String server = conf.GetValue(Names::kKellServers, L"server-1");
    for (const String& name : {server, server.Before(L":")}) {
        if (!name.IsEmpty() && !name.Contains(L"/")) Forgive(File::Remove(varDir + name + L".xml"));
    }
}

void RemoveVariableData(const IniFile& conf) {
    const String varDir = ConfiguredDirectory(conf, L"var");
    if (varDir.IsEmpty()) return;
    Forgive(File::Remove(varDir + L"invlock"));
    const String usualDir = conf.GetValue(Names::kConfiguration, L"installdir") + L"/var";
    if (!corekit::Path::IsMatch(varDir, usualDir)) RemoveServerDocuments(conf, varDir);
}

void RemoveStores(const IniFile& conf) {
    for (const wchar_t* store : kStoreKeys) Forgive(Dir::Remove(ConfiguredDirectory(conf, store)));
}

void RemoveGuidFile(const IniFile& conf) {
    const String path = conf.GetValue(Names::kConfiguration, L"guid_guid_file");
    if (path.StartsWith(L"/")) Forgive(File::Remove(path));
}

bool IsInstallerFile(const String& name) {
    return std::any_of(std::begin(kInstallerFiles), std::end(kInstallerFiles),
                       [&](const wchar_t* file) { return name == file; });
}

/// A link leads to what is somebody else's as well.
bool IsOurs(const String& directory) {
    return !corekit::IsHostDirectory(directory) && !File::IsLink(directory);
}

void RemoveEntriesBut(const String& directory, const std::function<bool(const String& name)>& stays) {
    if (!IsOurs(directory)) return;
    Forgive(Dir::Scan(directory, String(), [&](const FileInfo& entry) {
        if (!stays(entry.name)) Forgive(File::RemoveAny(entry.path));
        return true;
    }));
}

/// The configuration goes last: by it the next run finds what is left when this one is interrupted.
void RemoveInstallDir(const String& installDir) {
    if (installDir.IsEmpty()) return;
    const String etc = installDir + kEtc;
    const bool isReinstall = IsReinstallPending();
    if (!isReinstall) {
        for (const wchar_t* file : kInstallerFiles) Forgive(File::Remove(installDir + file));
    }
    RemoveEntriesBut(installDir, [&](const String& name) {
        return name == kEtc || (isReinstall && IsInstallerFile(name));
    });
    if (IsOurs(installDir)) RemoveEntriesBut(etc, [](const String& name) { return name == kClientConfName; });
    Forgive(File::Remove(installDir + kClientConf));
    if (!isReinstall) {
        Forgive(Dir::Remove(installDir));
    } else if (IsOurs(installDir)) {
        Forgive(Dir::Remove(etc));
    }
}

void RemoveGeneratedFile(const String& directory, const String& file, const IniFile* newConf) {
    if (directory.IsEmpty()) return;
    const String path = directory + file;
    if (newConf == nullptr || NamedWithin(*newConf, path).IsEmpty()) Forgive(File::Remove(path));
}

void RemoveGeneratedFilesButClientConf(const String& installDir, const IniFile* newConf) {
    const String directory = UsableDirectory(installDir);
    for (const wchar_t* file : kGeneratedFiles) RemoveGeneratedFile(directory, file, newConf);
    if (!directory.IsEmpty()) Forgive(File::RemoveEx(directory + kBackupCopies));
}

}  // namespace

void RemoveInstalledFiles60(const IniFile& oldConf) {
    const String installDir = ConfiguredDirectory(oldConf, L"installdir");
    RemoveStoredFiles(oldConf);
    RemoveVariableData(oldConf);
    RemoveStores(oldConf);
    RemoveGuidFile(oldConf);
    RemoveGeneratedFilesButClientConf(installDir, nullptr);
    Forgive(Dir::Remove(ConfiguredDirectory(oldConf, L"var")));
    RemoveInstallDir(installDir);
}

void RemoveGeneratedFiles60(const String& installDir, const IniFile* newConf) {
    // First: without it the next run goes by the copy that the upgrade saved, which knows what has been
    // carried.
    RemoveGeneratedFile(UsableDirectory(installDir), kClientConf, newConf);
    RemoveGeneratedFilesButClientConf(installDir, newConf);
}

}  // namespace Zorvane::AgentInstaller
