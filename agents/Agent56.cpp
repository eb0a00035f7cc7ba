// How an agent of version 5.6 is read and taken away.
#include "agents/Agent56.h"

#include "agents/FileRemoval56.h"
#include "agents/InstalledSettings.h"
#include "agents/Relocation.h"
#include "agents/ServiceRegistration.h"
#include "agents/SuperServers.h"
#include "config/SystemProbes.h"

namespace Zorvane::AgentInstaller {

std::unique_ptr<Settings> Agent56::LoadSettings() {
    const corekit::IniFile oldConf = OldConf();
    return oldConf.ReadResult() ? LoadInstalledSettings(oldConf, Generation::Agent56) : nullptr;
}

bool Agent56::RemoveSystemIntegration() {
    RemoveSuperServerEntries();
    RemoveServiceRegistration56(DetectDistribution());
    FlushRemovals(corekit::String());
    return true;
}

bool Agent56::RemoveFiles(const corekit::String& newConfPath) {
    // What cannot be moved stays where it is: the removal takes no store.
    if (!newConfPath.IsEmpty()) static_cast<void>(MoveData(OldConf(), corekit::IniFile(newConfPath)));
    RemoveInstalledFiles56(OldConf(), newConfPath);
    return true;
}

}  // namespace Zorvane::AgentInstaller
