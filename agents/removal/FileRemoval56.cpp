// Taking an agent of version 5.6 off the disk, led by its client.conf and its environment script.
#include "agents/removal/FileRemoval56.h"

#include <algorithm>

#include "agents/removal/KeepList.h"
#include "agents/removal/ProcessControl.h"
#include "config/ConfiguredDirectories.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "corekit/ini/IniFile.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::HostDirectory;
using corekit::IniFile;
using corekit::Result;
using corekit::String;
namespace File = corekit::File;
namespace Path = corekit::Path;

namespace {

/// A key, and what the agent took it for where it was missing.
struct OldKey {
    ConfKey name;
    const wchar_t* fallback;
};

constexpr OldKey kInstallDir = {Key::kInstallDir, Names::kUsualInstallDir};
constexpr OldKey kLibraryDir = {Key::kLibDir, L"/opt/zorvane/kell/ksagent/lib"};
constexpr OldKey kTaskDir = {Key::kTaskDir, Names::kUsualTaskDir56};
constexpr OldKey kDebugLog = {Key::kDebugOutput, L"/opt/zorvane/kell/ksagent/var/qdn-client.log"};
constexpr OldKey kVariableData = {Key::kVar, L"/opt/zorvane/kell/ksagent/var"};
constexpr OldKey kTemporaryDir = {Key::kTmpDir, L"/tmp"};

/// Where the agent is; every directory ends in "/" or, when there is none to work in, is empty.
struct Installation {
    String installDir;
    String libraryDir;
    String taskDir;
    String logDir;
    String varDir;
    String temporaryDir;
};

struct DataFiles {
    String Installation::*directory;
    const wchar_t* pattern;
};

constexpr DataFiles kDataFiles[] = {
    {&Installation::varDir, L"*.xml"},
    {&Installation::varDir, L"Pkg_*"},
    {&Installation::taskDir, L"Pkg_*"},
};
constexpr const wchar_t* kLog = L"qdn-client.log";

constexpr const wchar_t* kProgramDir = L"/usr/bin/";
constexpr const wchar_t* kPrograms[] = {
    L"qdn-clientconfigupdate", L"qdn-clientevent",
    L"qdn-clienttransport",    L"qdn-messagelistener",
    L"qdn-objectmanager",      L"qdn-policymanager",
    L"qdn-swdclientagent",     L"qdn-taskscheduler",
    L"qdn-policymanager.old",  L"qdn-swdclientagent.old",
    L"qdn-taskscheduler.old",  L"qdn-collector",
    L"qdn-filesurveyor",       L"qdn-invagent-configuration",
    L"qdn-invagent-generic",   L"qdn-invagent-hardware",
    L"qdn-invagent-software",  L"qdn-runinvnow",
};

constexpr const wchar_t* kBelowInstallDir[] = {
    L"bin/qdn-policymanager.old",
    L"bin/qdn-swdclientagent.old",
    L"bin/qdn-taskscheduler.old",
    L"bin/qdn-*",
    L"bin/rcscript",
    L"bin/runit.sh",
    L"bin/whose",
    L"bin/killem",
    L"bin/timeit",
    L"bin/wait_for_proc",
    L"etc/filescan.*",
};
constexpr const wchar_t* kEnvironmentScript = L"bin/qdn-env";
constexpr const wchar_t* kBackups = L"backups";
constexpr const wchar_t* kLibraryTree = L"lib";
constexpr const wchar_t* kEtc = L"etc";
// Without the slash, in which each directory ends here.
constexpr const wchar_t* kClientConf = Names::kClientConf + 1;
constexpr const wchar_t* kMovedMark = Names::kMovedMark + 1;

constexpr const wchar_t* kLibraries[] = {
    L"libomni*",          L"libssl.so*",     L"libcrypto.so*",      L"libxerces-c.so.21.0",
    L"libxerces-c.so.21", L"libxerces-c.so", L"libxalan-c1_4_0.so", L"libzorvane.so*",
};
constexpr const wchar_t* kHostLibraryPrefixes[] = {L"/lib", L"/usr/lib", L"/usr/local/lib"};

constexpr const wchar_t* kTemporaryFiles = L"qdn-*";
constexpr const wchar_t* kHostTemporaryDirs[] = {L"/tmp", L"/var/tmp"};

/// The value of a key, or its fallback where the key is missing. A key without a value names nothing.
String Value(const IniFile& conf, const OldKey& key) {
    String value = QueryValue(key.name.key, conf.FileName());
    if (value.IsEmpty() && !GetValue(conf, key.name, value)) value = key.fallback;
    return value;
}

/// The environment script gives the directory of the libraries: in the search path, before what that
/// inherits.
String LibraryDir(const IniFile& conf, const String& installDir) {
    const String path = QueryValue(L"LD_LIBRARY_PATH", installDir + kEnvironmentScript).Before(L":$");
    const String directory = UsableDirectory(path);
    return directory.IsEmpty() ? UsableDirectory(Value(conf, kLibraryDir)) : directory;
}

Installation FindInstallation(const IniFile& conf) {
    Installation agent;
    agent.installDir =
        UsableDirectory(DirectoryBehindLink(UsableDirectory(Value(conf, kInstallDir)), conf.FileName()));
    if (!agent.installDir.IsEmpty()) agent.libraryDir = LibraryDir(conf, agent.installDir);
    agent.taskDir = UsableDirectory(Value(conf, kTaskDir));
    agent.logDir = UsableDirectory(Path::GetDirectory(Value(conf, kDebugLog)));
    agent.varDir = UsableDirectory(Value(conf, kVariableData));
    agent.temporaryDir = UsableDirectory(Value(conf, kTemporaryDir));
    return agent;
}

/// True for the host's library directories and those below, whose libraries belong to everyone.
bool IsHostLibraryDir(const String& directory) {
    const auto canonical = Path::Canonicalise(directory);
    if (!canonical) return false;
    return std::ranges::any_of(kHostLibraryPrefixes,
                               [&](const wchar_t* prefix) { return canonical->StartsWith(prefix); });
}

/// The old log goes even from where the new agent writes one: it begins its own.
void RemoveLogs(const Installation& agent, RemovalOutcome& left) {
    for (const String& directory : {agent.varDir, agent.logDir}) {
        if (!directory.IsEmpty()) left.Add(directory + kLog, File::Remove(directory + kLog));
    }
}

void RemoveInstallDir(const Installation& agent, const KeepList& keep, RemovalOutcome& left) {
    for (const wchar_t* pattern : kBelowInstallDir) keep.RemoveOthers(agent.installDir + pattern, left);
    const Result allowed = CheckOwnDirectory(agent.installDir);
    if (!allowed) return left.Add(agent.installDir, allowed);
    keep.RemoveOthers(agent.installDir + kBackups, left);        // whatever it is
    keep.RemoveOthersInTree(agent.installDir + kBackups, left);  // a directory that holds something kept
    const String libraryTree = agent.installDir + kLibraryTree;
    if (Path::IsMatch(libraryTree, agent.libraryDir)) keep.RemoveOthersInTree(libraryTree, left);
    keep.RemoveOthersInTree(agent.installDir + kEtc, left);
}

void RemoveLibraries(const String& directory, const KeepList& keep, RemovalOutcome& left) {
    if (directory.IsEmpty() || IsHostLibraryDir(directory)) return;
    for (const wchar_t* pattern : kLibraries) keep.RemoveOthers(directory + pattern, left);
}

void RemoveTemporaryFiles(const String& directory, const KeepList& keep, RemovalOutcome& left) {
    if (directory.IsEmpty()) return;
    const bool isMeant = std::ranges::any_of(
        kHostTemporaryDirs, [&](const wchar_t* known) { return Path::IsMatch(directory, known); });
    keep.RemoveOthers(directory + kTemporaryFiles, left,
                      isMeant ? HostDirectory::Meant : HostDirectory::Refused);
}

/// Unknown libraries may stay, so client.conf does too: the next run looks again.
void WarnOfUnreadableScript(const Installation& agent, RemovalOutcome& left) {
    const String script = agent.installDir + kEnvironmentScript;
    const Result read = File::ReadBytes(script).Outcome();
    if (agent.installDir.IsEmpty() || !IsTransient(read)) return;
    Messages::Warn(L"WARNING! " + Messages::Shown(script) + L" is not used: " + GetErrorMsg(read) + L".\n");
    left.AddTold();
}

void RemoveAllButClientConf(const Installation& agent, KeepList keep, RemovalOutcome& left) {
    if (!agent.installDir.IsEmpty()) keep.Keep(agent.installDir + kClientConf);
    RemoveLogs(agent, left);
    for (const DataFiles& row : kDataFiles) {
        const String& directory = agent.*row.directory;
        if (!directory.IsEmpty()) keep.RemoveOthers(directory + row.pattern, left);
    }
    for (const wchar_t* program : kPrograms)
        keep.RemoveOthers(String(kProgramDir) + program, left, HostDirectory::Meant);
    if (!agent.installDir.IsEmpty()) {
        RemoveInstallDir(agent, keep, left);
        RemoveLibraries(agent.libraryDir, keep, left);
    }
    RemoveTemporaryFiles(agent.temporaryDir, keep, left);
}

/// Removes client.conf, by which the next run finds what is left, unless something is left.
void RemoveClientConf(const Installation& agent, const KeepList& keep, RemovalOutcome left) {
    const String path = agent.installDir + kClientConf;
    left.Tell();
    if (!agent.installDir.IsEmpty() && !keep.Includes(path)) {
        if (left.Any()) {
            if (File::Exists(path)) Messages::WarnKept(path, L"not everything could be removed");
        } else {
            keep.RemoveOthers(path, left);
            if (CheckOwnDirectory(agent.installDir)) keep.RemoveOthersInTree(agent.installDir + kEtc, left);
        }
    }
    left.Tell();
}

}  // namespace

void RemoveInstalledFiles56(const IniFile& conf, const IniFile* newConf, RemovalOutcome left) {
    // Without the file every directory would be the usual one, which may well be another agent's.
    if (!conf.ReadResult()) return;
    DeclareData(conf);
    const Installation agent = FindInstallation(conf);
    KeepList keep(newConf, agent.installDir);
    const String movedMark = agent.installDir + kMovedMark;
    if (newConf != nullptr && !agent.installDir.IsEmpty() && File::Exists(movedMark)) {
        // The next run finds the data that could not be moved by the mark and by client.conf.
        keep.Keep(movedMark);
        keep.Keep(agent.installDir + kClientConf);
    }
    WarnOfUnreadableScript(agent, left);
    RemoveAllButClientConf(agent, keep, left);
    // Only client.conf, which goes now, leads the next run to the programs: a power cut must not bring them
    // back without it. If the flush fails they are gone all the same.
    Forgive(corekit::Dir::FlushEntries(kProgramDir));
    RemoveClientConf(agent, keep, left);
}

}  // namespace Zorvane::AgentInstaller
