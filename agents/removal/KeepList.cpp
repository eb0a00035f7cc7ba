// Distinguishes what an upgrade needs from what the old agent has left, and removes the latter.
#include "agents/removal/KeepList.h"

#include <algorithm>
#include <cerrno>
#include <fnmatch.h>

#include "config/ConfiguredDirectories.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/text/Regex.h"
#include "run/Keys.h"

namespace Zorvane::AgentInstaller {

using corekit::Dir;
using corekit::FileInfo;
using corekit::HostDirectory;
using corekit::IniFile;
using corekit::Result;
using corekit::String;
namespace File = corekit::File;
namespace Path = corekit::Path;

namespace {

constexpr const wchar_t* kLibraryTree = L"lib";

// Below the install directory. client.conf is among them because the new one replaces it in one step: a run
// that is interrupted before finds the old agent again.
constexpr const char* kLaidDown[] = {
    "bin/*.bin",           "etc",
    "etc/client.proto",    "etc/rcscript.proto.*",
    "etc/config.xml",      "etc/client.conf",
    "etc/client.conf.old", "etc/client.conf.unmoved",
    "etc/.unmoved",        "etc/.unfinished",
};

}  // namespace

KeepList::KeepList(const IniFile* newConf, const String& oldInstallDir) : m_isClean(newConf == nullptr) {
    if (newConf == nullptr) return;
    for (const String& path : NamedPaths(*newConf)) Keep(path);
    const String newInstallDir = ConfiguredDirectory(*newConf, Key::kInstallDir);
    if (oldInstallDir.IsEmpty() || !Path::IsMatch(newInstallDir, oldInstallDir)) return;
    m_installDir = oldInstallDir;
    m_libraries = Path::AncestorChain(m_installDir + kLibraryTree);
}

void KeepList::Keep(const String& path) {
    m_named.emplace_back(path);
    m_namedPaths.push_back(path);
}

bool KeepList::Includes(const String& path) const {
    if (IsLaidDown(path)) return true;
    if (File::CheckNotLink(path).Code() == ELOOP) return IsOnTheWayToKept(path);
    const Path::AncestorChain place(path);
    return place.IsWithin(m_libraries) || std::ranges::any_of(m_named, [&](const Path::AncestorChain& named) {
               return named.IsWithin(place);
           });
}

/// True for files that the new package or this run created, except the libraries.
bool KeepList::IsLaidDown(const String& path) const {
    if (m_installDir.IsEmpty() || !path.StartsWith(m_installDir)) return false;
    const std::string name = path.Mid(m_installDir.Length()).Utf8();
    return std::ranges::any_of(
        kLaidDown, [&](const char* pattern) { return fnmatch(pattern, name.c_str(), FNM_PATHNAME) == 0; });
}

/// True if a kept path is the link itself, or leads through it. Removing a link does not remove what it leads
/// to.
bool KeepList::IsOnTheWayToKept(const String& link) const {
    const auto place = [](const String& path) {
        return Path::Join(Path::Resolve(Path::GetDirectory(path)), Path::GetFileName(path));
    };
    const String ownPlace = place(link);
    return std::ranges::any_of(m_namedPaths, [&](String path) {
        for (; path.Length() > 1; path = Path::GetDirectory(path)) {
            if (place(path) == ownPlace) return true;
        }
        return false;
    });
}

void KeepList::RemoveOthers(const String& pattern, RemovalOutcome& left, HostDirectory hostDirectory) const {
    const String directory = Path::GetDirectory(pattern);
    const String name = Path::GetFileName(pattern);
    if (m_isClean || !corekit::HasWildcard(name.Utf8())) {
        if (!Includes(pattern)) left.Add(pattern, File::RemoveEx(pattern, hostDirectory), hostDirectory);
        return;
    }
    if (hostDirectory == HostDirectory::Refused) {
        const Result allowed = corekit::CheckRemovable(directory);
        if (!allowed) return left.Add(directory, allowed);
    }
    RemoveOtherEntries(directory, name, left);
}

void KeepList::RemoveOthersInTree(const String& directory, RemovalOutcome& left) const {
    if (!Includes(directory)) return left.Add(directory, Dir::Remove(directory));
    const Result allowed = corekit::CheckRemovable(directory);
    if (!allowed) return left.Add(directory, allowed);
    RemoveOtherEntries(directory, String(), left);
}

void KeepList::RemoveOtherEntries(const String& directory, const String& pattern,
                                  RemovalOutcome& left) const {
    const Result read = Dir::Scan(directory, pattern, [&](const FileInfo& entry) {
        const String path = Path::Join(directory, entry.name);
        if (!Includes(path)) left.Add(path, File::RemoveAny(path));
        return true;
    });
    left.Add(directory, read);
}

}  // namespace Zorvane::AgentInstaller
