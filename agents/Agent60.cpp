// How agents of version 6.0 and later are read, moved and taken away.
#include "agents/Agent60.h"

#include <algorithm>
#include <array>

#include "agents/carry/DataMove.h"
#include "agents/carry/InstalledSettings.h"
#include "agents/carry/StoreConversion.h"
#include "agents/removal/FileRemoval60.h"
#include "agents/removal/ProgramLinkRemoval.h"
#include "agents/removal/ServiceRegistration.h"
#include "config/SystemProbes.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "deploykit/RCScriptBackend.h"
#include "run/Failure.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::HostDirectory;
using corekit::IniFile;
using corekit::String;
namespace Path = corekit::Path;

namespace {

/// The failure of an operation that needs a client.conf when none is known. It has no text: the caller knows
/// which operation has failed.
Failure FailWithoutConf() {
    return Fail(String());
}

/// How the names of the agent's own files begin. In a directory of the host, such as /var/log, the rotations
/// of any other log are the host's (syslog.1), as libraries are in another one (libc.so.6).
constexpr std::array kOwnLogs = {L"qdn", L"zorvane"};

HostDirectory LogDirectoryOf(const String& log) {
    const String name = Path::GetFileName(log);
    const auto begins = [&](const wchar_t* own) { return name.StartsWith(own); };
    return std::ranges::any_of(kOwnLogs, begins) ? HostDirectory::Meant : HostDirectory::Refused;
}

/// The path as a wildcard that matches nothing else: the name of a log may hold any character.
String Literal(const String& path) {
    String name;
    for (const wchar_t character : Path::GetFileName(path)) {
        const bool isSpecial = character == L'*' || character == L'?' || character == L'[';
        name +=
            isSpecial ? L"[" + String(std::wstring(1, character)) + L"]" : String(std::wstring(1, character));
    }
    return path.Left(path.Length() - Path::GetFileName(path).Length()) + name;
}

/// Removes the numbered rotations of a log; the log itself stays.
RemovalOutcome RemoveRotations(const String& log, HostDirectory hostDirectory) {
    RemovalOutcome left;
    const String pattern = Literal(log) + L".[0-9]*";
    if (!Path::GetFileName(log).IsEmpty())
        left.Add(pattern, corekit::File::RemoveEx(pattern, hostDirectory), hostDirectory);
    return left;
}

}  // namespace

Outcome<std::unique_ptr<Settings>> Agent60::LoadSettings() {
    return LoadInstalledSettings(OldConf(), Generation::Agent60);
}

Outcome<> Agent60::RemoveSystemIntegration() {
    if (ConfPath().IsEmpty()) return FailWithoutConf();
    const IniFile oldConf = OldConf();
    // Both record what stays in m_left.
    Forgive(RemoveProgramLinks(oldConf));
    Forgive(RemoveRunLevelScripts(oldConf));
    FlushRemovals(GetValue(oldConf, Key::kBinDir));
    return {};
}

Outcome<> Agent60::RemoveFiles(const String& newConfPath) {
    if (ConfPath().IsEmpty()) return FailWithoutConf();
    if (!newConfPath.IsEmpty()) return RelocateFiles(newConfPath);
    const IniFile oldConf = OldConf();
    // The logs go while client.conf is there, by which the next run finds them if this one is interrupted.
    // m_left records what stays.
    Forgive(RemoveRotatedDebugLogs(oldConf));
    RemoveInstalledFiles60(oldConf, m_left);
    return {};
}

Outcome<> Agent60::RelocateFiles(const String& newConfPath) {
    if (ConfPath().IsEmpty()) return FailWithoutConf();
    const IniFile oldConf = OldConf();
    const IniFile newConf(newConfPath);
    // The one says where the data is, and the other where it goes.
    for (const IniFile* conf : {&oldConf, &newConf}) {
        if (!conf->ReadResult())
            return FailBecause(Texts::kUnreadableConfiguration, conf->FileName(), conf->ReadResult());
    }
    const DataMove moved = MoveData(oldConf, newConf);
    Forgive(ConvertPackageStore(newConf));  // records that stay as they were have been warned of
    if (moved == DataMove::Partial) KeepConfOfUnmovedData(oldConf, newConf);
    RemoveOldInstallation(oldConf, newConf, moved);
    // m_left records what stays.
    Forgive(RemoveRotatedClientLogs(oldConf, GetValue(newConf, Key::kInstallDir)));
    m_left.Tell();
    return {};
}

bool Agent60::RemoveProgramLinks(const IniFile& oldConf) {
    m_left.Add(RemoveProgramLinks60(GetValue(oldConf, Key::kInstallDir), GetValue(oldConf, Key::kBinDir)));
    return true;
}

bool Agent60::RemoveRunLevelScripts(const IniFile&) {
    m_left.Add(RemoveServiceRegistration60(DetectDistribution()));
    Messages::Say(L"  Removing RC init links and scripts\n");
    return true;
}

bool Agent60::ConvertPackageStore(const IniFile& newConf) {
    ConvertJobs(GetValue(newConf, Key::kSwdDir));
    ConvertPackages(GetValue(newConf, Key::kPackageDir));
    return true;
}

bool Agent60::RemoveRotatedDebugLogs(const IniFile&) {
    return true;
}

bool Agent60::RemoveRotatedClientLogs(const IniFile&, const String&) {
    return true;
}

bool Agent60SP2::RemoveProgramLinks(const corekit::IniFile& oldConf) {
    m_left.Add(RemoveWrapperLinks(InstallDir(), GetValue(oldConf, Key::kBinDir)));
    return true;
}

bool Agent60SP2::RemoveRunLevelScripts(const corekit::IniFile&) {
    Messages::Say(L"  Removing RC init links and scripts\n");
    const corekit::Result result = deploykit::ItemInstallers::RCScriptBackend::Uninstall(Names::kServiceName);
    m_left.Add(Names::kServiceScript, result);
    return result.Ok();
}

bool Agent62::RemoveRotatedDebugLogs(const corekit::IniFile& oldConf) {
    const String log = GetValue(oldConf, Key::kDebugOutput).Replace(L"//", L"/");
    m_left.Add(RemoveRotations(log, LogDirectoryOf(log)));
    return true;
}

bool Agent62::RemoveRotatedClientLogs(const corekit::IniFile& oldConf, const String& newInstallDir) {
    String oldInstallDir = GetValue(oldConf, Key::kInstallDir);
    if (oldInstallDir.IsEmpty() || newInstallDir.IsEmpty()) return true;
    if (Path::IsMatch(oldInstallDir, newInstallDir)) return true;
    EnsureTrailingChar(oldInstallDir, L'/');
    m_left.Add(RemoveRotations(oldInstallDir + L"var/qdn-client.log", HostDirectory::Refused));
    return true;
}

}  // namespace Zorvane::AgentInstaller
