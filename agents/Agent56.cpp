// How an agent of version 5.6 is read and taken away.
#include "agents/Agent56.h"

#include "agents/carry/DataMove.h"
#include "agents/carry/InstalledSettings.h"
#include "agents/removal/FileRemoval56.h"
#include "agents/removal/ServiceRegistration.h"
#include "agents/removal/SuperServers.h"
#include "config/SystemProbes.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;

Outcome<std::unique_ptr<Settings>> Agent56::LoadSettings() {
    return LoadInstalledSettings(OldConf(), Generation::Agent56);
}

Outcome<> Agent56::RemoveSystemIntegration() {
    m_left.Add(RemoveSuperServerEntries());
    m_left.Add(RemoveServiceRegistration56(DetectDistribution()));
    FlushRemovals(corekit::String());
    return {};
}

Outcome<> Agent56::RemoveFiles(const corekit::String& newConfPath) {
    const IniFile oldConf = OldConf();
    if (newConfPath.IsEmpty()) {
        RemoveInstalledFiles56(oldConf, nullptr, m_left);
        return {};
    }
    const IniFile newConf(newConfPath);
    // Without the new client.conf nobody knows what stays, and where the data goes.
    if (!newConf.ReadResult())
        return FailBecause(Texts::kUnreadableConfiguration, newConfPath, newConf.ReadResult());
    // What cannot be moved stays where it is: the removal takes no store.
    const DataMove moved = MoveData(oldConf, newConf);
    if (moved == DataMove::Partial) KeepConfOfUnmovedData(oldConf, newConf);
    RemoveInstalledFiles56(oldConf, &newConf, m_left);
    return {};
}

}  // namespace Zorvane::AgentInstaller
