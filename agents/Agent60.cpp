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
#include "run/Messages.h"
#include "run/Names.h"

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
    FlushRemovals(oldConf.GetValue(Names::kConfiguration, L"bindir"));
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
    if (!oldConf.ReadResult() || !newConf.ReadResult())
        return Error::Fail(L"Failed to read configuration files.");
    const DataMove moved = MoveData(oldConf, newConf);
    ConvertPackageStore(newConf);
    RemoveOldInstallation(oldConf, newConf, moved);
    return RemoveRotatedClientLogs(oldConf, newConf.GetValue(Names::kConfiguration, L"installdir"));
}

bool Agent60::RemoveProgramLinks(const IniFile& oldConf) {
    m_left.Add(RemoveProgramLinks60(oldConf.GetValue(Names::kConfiguration, L"installdir"),
                                    oldConf.GetValue(Names::kConfiguration, L"bindir")));
    return true;
}

bool Agent60::RemoveRunLevelScripts(const IniFile&) {
    m_left.Add(RemoveServiceRegistration60(DetectDistribution()));
    Messages::Say(L"  Removing RC init links and scripts\n");
    return true;
}

bool Agent60::ConvertPackageStore(const IniFile& newConf) {
    ConvertJobs(newConf.GetValue(Names::kConfiguration, L"swd_storage_path"));
    ConvertPackages(newConf.GetValue(Names::kConfiguration, L"package_storage_path"));
    return true;
}

bool Agent60::RemoveRotatedDebugLogs(const IniFile&) {
    return true;
}

bool Agent60::RemoveRotatedClientLogs(const IniFile&, const String&) {
    return true;
}

}  // namespace Zorvane::AgentInstaller
