// How an agent of version 6.0 is read, moved and taken away.
#include "agents/Agent60.h"

#include "agents/carry/DataMove.h"
#include "agents/carry/InstalledSettings.h"
#include "agents/carry/JobStore.h"
#include "agents/carry/PackageStore.h"
#include "agents/removal/FileRemoval60.h"
#include "agents/removal/ProgramLinkRemoval.h"
#include "agents/removal/ServiceRegistration.h"
#include "agents/removal/SuperServers.h"
#include "config/SystemProbes.h"
#include "run/Error.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "run/Texts.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::IniFile;
using corekit::String;

std::unique_ptr<Settings> Agent60::LoadSettings() {
    const IniFile oldConf = OldConf();
    return oldConf.ReadResult() ? LoadInstalledSettings(oldConf, Generation::Agent60) : nullptr;
}

bool Agent60::RemoveSystemIntegration() {
    if (ConfPath().IsEmpty()) return false;
    ClearUpAfterSuperServerEntries();  // of an upgrade from 5.6 to the agent that is installed now
    const IniFile oldConf = OldConf();
    Forgive(RemoveProgramLinks(oldConf));
    Forgive(RemoveRunLevelScripts(oldConf));
    FlushRemovals(GetValue(oldConf, Key::kBinDir));
    return true;
}

bool Agent60::RemoveFiles(const String& newConfPath) {
    if (ConfPath().IsEmpty()) return false;
    if (!newConfPath.IsEmpty()) return RelocateFiles(newConfPath);
    const IniFile oldConf = OldConf();
    // While client.conf is there: a next run finds them by it when this one is interrupted.
    const bool areLogsRemoved = RemoveRotatedDebugLogs(oldConf);
    RemoveInstalledFiles60(oldConf, m_left);
    return areLogsRemoved;
}

bool Agent60::RelocateFiles(const String& newConfPath) {
    if (ConfPath().IsEmpty()) return false;
    const IniFile oldConf = OldConf();
    const IniFile newConf(newConfPath);
    // Neither says then where the data is to go.
    if (!oldConf.ReadResult() || !newConf.ReadResult()) return Error::Fail(Texts::kUnreadableConfiguration);
    const DataMove moved = MoveData(oldConf, newConf);
    ConvertPackageStore(newConf);
    RemoveOldInstallation(oldConf, newConf, moved);
    return RemoveRotatedClientLogs(oldConf, GetValue(newConf, Key::kInstallDir));
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

}  // namespace Zorvane::AgentInstaller
