// How an agent of version 5.6 is read and taken away.
#include "agents/Agent56.h"

#include "agents/carry/DataMove.h"
#include "agents/carry/InstalledSettings.h"
#include "agents/removal/FileRemoval56.h"
#include "agents/removal/ServiceRegistration.h"
#include "agents/removal/SuperServers.h"
#include "config/SystemProbes.h"
#include "run/Error.h"
#include "run/Texts.h"

namespace Zorvane::AgentInstaller {

std::unique_ptr<Settings> Agent56::LoadSettings() {
    const corekit::IniFile oldConf = OldConf();
    return oldConf.ReadResult() ? LoadInstalledSettings(oldConf, Generation::Agent56) : nullptr;
}

bool Agent56::RemoveSystemIntegration() {
    m_left.Add(RemoveSuperServerEntries());
    m_left.Add(RemoveServiceRegistration56(DetectDistribution()));
    FlushRemovals(corekit::String());
    return true;
}

bool Agent56::RemoveFiles(const corekit::String& newConfPath) {
    if (!newConfPath.IsEmpty()) {
        const corekit::IniFile newConf(newConfPath);
        // It says what stays, and where the data is to go.
        if (!newConf.ReadResult()) return Error::Fail(Texts::kUnreadableConfiguration);
        // What cannot be moved stays where it is: the removal takes no store.
        static_cast<void>(MoveData(OldConf(), newConf));
    }
    RemoveInstalledFiles56(OldConf(), newConfPath, m_left);
    return true;
}

}  // namespace Zorvane::AgentInstaller
