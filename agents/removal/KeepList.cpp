// Telling what an upgrade needs from what the old agent left, and removing the latter.
#include "agents/removal/KeepList.h"

#include <algorithm>
#include <fnmatch.h>
#include <utility>

#include "config/ConfiguredPaths.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/ini/IniFile.h"
#include "corekit/text/Wildcard.h"
#include "run/Keys.h"

namespace Zorvane::AgentInstaller {

using corekit::Dir;
using corekit::FileInfo;
using corekit::IniFile;
using corekit::Result;
using corekit::String;
namespace File = corekit::File;
namespace Path = corekit::Path;

namespace {

constexpr const wchar_t* kLibraryTree = L"lib";

// Below the install directory. client.conf is among them because the new one replaces it in one step: a run
// that is interrupted before finds the old agent again.
constexpr const char* kOurFiles[] = {
    "bin/*.bin",           "etc",
    "etc/client.proto",    "etc/rcscript.proto.*",
    "etc/config.xml",      "etc/client.conf",
    "etc/client.conf.old",
};

/// What fails for a moment goes well with the second try.
IniFile ReadTwice(const String& path) {
    IniFile conf(path);
    return conf.ReadResult() ? std::move(conf) : IniFile(path);
}

}  // namespace

KeepList::KeepList(const String& newConfPath, const String& oldInstallDir)
    : m_isClean(newConfPath.IsEmpty()) {
    if (m_isClean) return;
    const IniFile newConf = ReadTwice(newConfPath);
    m_mayBeAny = !newConf.ReadResult();
    for (const String& path : NamedPaths(newConf)) m_named.emplace_back(path);
    const String newInstallDir = ConfiguredDirectory(newConf, Key::kInstallDir);
    if (oldInstallDir.IsEmpty() || !Path::IsMatch(newInstallDir, oldInstallDir)) return;
    m_installDir = oldInstallDir;
    m_libraries = Path::AncestorChain(m_installDir + kLibraryTree);
}

bool KeepList::Include(const String& path) const {
    if (m_mayBeAny || IsOurs(path)) return true;
    const Path::AncestorChain place(path);
    return place.IsWithin(m_libraries) || std::ranges::any_of(m_named, [&](const Path::AncestorChain& named) {
               return named.IsWithin(place);
           });
}

/// Is it, beside the libraries, what the new package or this run has laid down?
bool KeepList::IsOurs(const String& path) const {
    if (m_installDir.IsEmpty() || !path.StartsWith(m_installDir)) return false;
    const std::string name = path.Mid(m_installDir.Length()).Utf8();
    return std::any_of(std::begin(kOurFiles), std::end(kOurFiles), [&](const char* pattern) {
        return fnmatch(pattern, name.c_str(), FNM_PATHNAME) == 0;
    });
}

void KeepList::RemoveOthers(const String& pattern, RemovalOutcome& left,
                            File::HostDirectory hostDirectory) const {
    const String directory = Path::GetDirectory(pattern);
    const String name = Path::GetFileName(pattern);
    if (m_isClean || !corekit::HasWildcard(name.Utf8())) {
        if (!Include(pattern)) left.Add(File::RemoveEx(pattern, hostDirectory));
        return;
    }
    if (hostDirectory == File::HostDirectory::Refused) {
        if (const Result ours = corekit::RefuseHostDirectory(directory); !ours) return left.Add(ours);
    }
    RemoveOtherEntries(directory, name, left);
}

void KeepList::RemoveOthersInTree(const String& directory, RemovalOutcome& left) const {
    if (!Include(directory)) {
        left.Add(Dir::Remove(directory));
    } else if (const Result ours = corekit::RefuseHostDirectory(directory); !ours) {
        left.Add(ours);
    } else {
        RemoveOtherEntries(directory, String(), left);
    }
}

void KeepList::RemoveOtherEntries(const String& directory, const String& pattern,
                                  RemovalOutcome& left) const {
    left.Add(Dir::Scan(directory, pattern, [&](const FileInfo& entry) {
        const String path = Path::Join(directory, entry.name);
        if (!Include(path)) left.Add(File::RemoveAny(path));
        return true;
    }));
}

}  // namespace Zorvane::AgentInstaller
