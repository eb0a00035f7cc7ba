// Taking an agent of version 6.x off the disk, led by its client.conf.
#include "agents/removal/FileRemoval60.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <set>

#include "config/ConfiguredDirectories.h"
#include "config/GuidFile.h"
#include "corekit/fs/Confinement.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "run/Keys.h"
#include "run/Marks.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Dir;
using corekit::FileInfo;
using corekit::IniFile;
using corekit::Result;
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
    ConfKey store;
    ConfKey extensionKey;
    const wchar_t* usualExtension;
};

constexpr DataFiles kDataFiles[] = {
    {Key::kEventQueueDir, Key::kEventFileExtension, L".kse"},
    {Key::kTaskDir, Key::kTaskFileExtension, L".kst"},
};

struct StoredFiles {
    ConfKey store;
    const wchar_t* pattern;
};

constexpr StoredFiles kStoredFiles[] = {
    {Key::kEventQueueDir, L"*.ksi*"}, {Key::kEventQueueDir, L"*.??????"},
    {Key::kSwdDir, kGuidPattern},     {Key::kSwdDir, L"Packages/.qdn-package-*"},
    {Key::kSwdDir, L"Packages"},      {Key::kPackageDir, kGuidPattern},
    {Key::kPackageDir, L"qdn-*.log"}, {Key::kPackageDir, L".qdn-pkg-xml-*"},
};

// Below the install directory.
constexpr const wchar_t* kGeneratedFiles[] = {
    L"etc/client.conf.old", L"etc/config.xml",     L"etc/om-ior",      L"etc/host.GUID",
    L"etc/UserLog.ini",     L"etc/.upgrade",       L"bin/runit.sh",    L"bin/qdn-env",
    L"bin/rcscript",        L"var/qdn-client.log", L"qdn-install.log",
};
constexpr const wchar_t* kEtc = L"etc";
constexpr const wchar_t* kPrograms = L"bin";
constexpr const wchar_t* kClientConfName = L"client.conf";
constexpr const wchar_t* kClientConf = L"etc/client.conf";
constexpr const wchar_t* kBackupCopies = L"etc/client.conf.??????";
constexpr const wchar_t* kReasonToKeep = L"not everything could be removed";
constexpr const wchar_t* kInstallerFiles[] = {L"qdn-bootstrap", L"qdn-ksclt-install.log"};

/// The directory of a store if the path leads over a link: removing the store may remove no more than the
/// link, so that the agent's files in it are searched for by their names. Empty for any other store: it is
/// removed with everything in it, or is a directory of the host, which holds nothing of the agent's.
String LinkedStore(const IniFile& conf, const ConfKey& store) {
    const String directory = ConfiguredDirectory(conf, store);
    // The removal fails there, and tells of the link that another user has put on the way.
    if (corekit::OpenDirectory(directory) == Result(corekit::kBelongsToOthers)) return directory;
    const bool isHosts = corekit::CheckRemovable(directory) == Result(EPERM);
    return isHosts || corekit::Path::Resolve(directory) + L"/" == directory ? String() : directory;
}

void RemoveStoredFiles(const IniFile& conf, RemovalOutcome& left) {
    for (const DataFiles& row : kDataFiles) {
        const String directory = LinkedStore(conf, row.store);
        String extension = GetValue(conf, row.extensionKey);
        if (extension.IsEmpty()) extension = row.usualExtension;
        if (directory.IsEmpty() || extension.Contains(L"/")) continue;
        const String pattern = directory + L"*" + extension;
        left.Add(pattern, File::RemoveEx(pattern));
    }
    for (const StoredFiles& row : kStoredFiles) {
        const String directory = LinkedStore(conf, row.store);
        if (directory.IsEmpty()) continue;
        const String pattern = directory + row.pattern;
        left.Add(pattern, File::RemoveEx(pattern));
    }
}

/// Removes the server's settings documents, which are named after it, with and without its port. No character
/// of the name is a wildcard, and none leads to another directory.
void RemoveServerDocuments(const IniFile& conf, const String& varDir, RemovalOutcome& left) {
    const String server = GetValue(conf, Key::kServer);
    for (const String& name : {server, server.Before(L":")}) {
        if (name.IsEmpty() || name.Contains(L"/")) continue;
        const String document = varDir + name + L".xml";
        left.Add(document, File::Remove(document));
    }
}

void RemoveVariableData(const IniFile& conf, RemovalOutcome& left) {
    const String varDir = ConfiguredDirectory(conf, Key::kVar);
    if (varDir.IsEmpty()) return;
    left.Add(varDir + L"invlock", File::Remove(varDir + L"invlock"));
    const String usualDir = GetValue(conf, Key::kInstallDir) + L"/var";
    if (!corekit::Path::IsMatch(varDir, usualDir)) RemoveServerDocuments(conf, varDir, left);
}

/// True if the directory stays for no other reason than that packages and users share the directory it lies
/// in.
bool IsKeptAsHosts(const String& directory) {
    const auto place = corekit::ParentDirectory::Of(directory);
    const bool isOnOurWay = place && corekit::CheckConfined(place->At()) && corekit::OpenDirectory(directory);
    return isOnOurWay && corekit::CheckRemovable(directory) == Result(EPERM) &&
           corekit::CheckInstallable(directory);
}

/// Warns of directories of data that stay because they may be the host's: they may be the agent's all the
/// same.
void WarnOfHostsDirectories(const IniFile& conf) {
    std::set<String, corekit::Ltstr> directories = {ConfiguredDirectory(conf, Key::kVar)};
    for (const ConfKey& store : Key::kStores) directories.insert(ConfiguredDirectory(conf, store));
    for (const String& directory : directories) {
        if (!directory.IsEmpty() && IsKeptAsHosts(directory))
            Messages::WarnKept(corekit::Path::WithoutTrailingSlashes(directory),
                               L"it is a directory of the host");
    }
}

void RemoveStores(const IniFile& conf, RemovalOutcome& left) {
    for (const ConfKey& store : Key::kStores) {
        const String directory = ConfiguredDirectory(conf, store);
        left.Add(directory, Dir::Remove(directory));
    }
}

void RemoveEntriesBut(const String& directory, RemovalOutcome& left,
                      const std::function<bool(const String& name)>& stays) {
    const Result allowed = CheckOwnDirectory(directory);
    if (!allowed) return left.Add(directory, allowed);
    const Result read = Dir::Scan(directory, String(), [&](const FileInfo& entry) {
        if (!stays(entry.name)) left.Add(entry.path, File::RemoveAny(entry.path));
        return true;
    });
    left.Add(directory, read);
}

void RemoveInstallDirButClientConf(const String& installDir, bool isReinstall, bool keepPrograms,
                                   RemovalOutcome& left) {
    if (installDir.IsEmpty()) return;
    if (!isReinstall) {
        for (const wchar_t* file : kInstallerFiles)
            left.Add(installDir + file, File::Remove(installDir + file));
    }
    RemoveEntriesBut(installDir, left, [&](const String& name) {
        return name == kEtc || (keepPrograms && name == kPrograms) ||
               (isReinstall && std::ranges::find(kInstallerFiles, name) != std::end(kInstallerFiles));
    });
    const Result allowed = CheckOwnDirectory(installDir);
    if (!allowed) return left.Add(installDir, allowed);
    RemoveEntriesBut(installDir + kEtc, left, [](const String& name) { return name == kClientConfName; });
}

/// Removes the directories that held nothing but client.conf at last.
Result RemoveEmptied(const String& installDir, bool isReinstall) {
    if (!isReinstall) return Dir::Remove(installDir).About(installDir);
    if (const Result allowed = CheckOwnDirectory(installDir); !allowed) return allowed.About(installDir);
    const Result removed = Dir::Remove(installDir + kEtc).About(installDir + kEtc);
    // Without the installer's files nothing is left to keep.
    const bool isEmpty = Dir::Entries(installDir, String()).empty();
    return isEmpty ? Worse(removed, Dir::Remove(installDir).About(installDir)) : removed;
}

/// Removes client.conf, by which the next run finds what is left when this one is interrupted, and then its
/// directories. If these stay for a reason that may pass, writes it again, so that another run finds them.
void RemoveClientConf(const String& installDir, bool isReinstall, RemovalOutcome& left) {
    const String path = installDir + kClientConf;
    const auto content = File::ReadBytes(path);
    left.Add(path, File::Remove(path));
    const Result emptied = RemoveEmptied(installDir, isReinstall);
    left.Add(installDir, emptied);
    if (!content || !IsTransient(emptied)) return;
    Result kept = Dir::CreateR(installDir + kEtc);
    if (kept) kept = File::WriteBytes(path, *content, {.mode = 0600});
    left.Tell();
    if (kept) Messages::WarnKept(path, kReasonToKeep);
}

void RemoveGeneratedFile(const String& directory, const String& file, const IniFile* newConf,
                         RemovalOutcome& left) {
    if (directory.IsEmpty()) return;
    const String path = directory + file;
    if (newConf == nullptr || NamedWithin(*newConf, path).empty()) left.Add(path, File::Remove(path));
}

void RemoveGeneratedFilesButClientConf(const String& installDir, const IniFile* newConf,
                                       RemovalOutcome& left) {
    const String directory = UsableDirectory(installDir);
    for (const wchar_t* file : kGeneratedFiles) RemoveGeneratedFile(directory, file, newConf, left);
    if (!directory.IsEmpty()) left.Add(directory + kBackupCopies, File::RemoveEx(directory + kBackupCopies));
}

void RemoveAllButClientConf(const IniFile& oldConf, const String& installDir, bool isReinstall,
                            RemovalOutcome& left) {
    const bool keepPrograms = left.Any();
    RemoveStoredFiles(oldConf, left);
    RemoveVariableData(oldConf, left);
    RemoveStores(oldConf, left);
    const String guidFile = GetValue(oldConf, Key::kGuidFile);
    if (guidFile.StartsWith(L"/")) left.Add(guidFile, RemoveGuidFile(oldConf));
    RemoveGeneratedFilesButClientConf(installDir, nullptr, left);
    const String varDir = ConfiguredDirectory(oldConf, Key::kVar);
    left.Add(varDir, Dir::Remove(varDir));
    WarnOfHostsDirectories(oldConf);
    RemoveInstallDirButClientConf(installDir, isReinstall, keepPrograms, left);
}

}  // namespace

void RemoveInstalledFiles60(const IniFile& oldConf, RemovalOutcome left) {
    DeclareData(oldConf);
    // An install directory that is a link is cleaned like the directory behind it, and the link goes last.
    const String configuredDir = ConfiguredDirectory(oldConf, Key::kInstallDir);
    const String installDir = UsableDirectory(DirectoryBehindLink(configuredDir, oldConf.FileName()));
    const bool isReinstall = IsReinstallPending();
    WarnOfUnusedReinstallMarker();
    RemoveAllButClientConf(oldConf, installDir, isReinstall, left);
    left.Tell();
    if (!installDir.IsEmpty()) {
        const String path = installDir + kClientConf;
        if (!left.Any()) {
            RemoveClientConf(installDir, isReinstall, left);
            const bool isGone = IsNotFound(File::Probe(installDir));
            if (isGone && installDir != configuredDir)
                left.Add(configuredDir, File::Remove(configuredDir, corekit::HostDirectory::Meant));
        } else if (File::Exists(path)) {
            Messages::WarnKept(path, kReasonToKeep);
        }
    }
    left.Tell();
}

RemovalOutcome RemoveGeneratedFiles60(const String& installDir, const IniFile* newConf) {
    RemovalOutcome left;
    // client.conf goes first: without it the next run goes by the copy that the upgrade saved, from which it
    // sees what has been carried over.
    RemoveGeneratedFile(UsableDirectory(installDir), kClientConf, newConf, left);
    RemoveGeneratedFilesButClientConf(installDir, newConf, left);
    return left;
}

RemovalOutcome RemoveGeneratedFilesButClientConf60(const String& installDir, const IniFile* newConf) {
    RemovalOutcome left;
    RemoveGeneratedFilesButClientConf(installDir, newConf, left);
    return left;
}

}  // namespace Zorvane::AgentInstaller
