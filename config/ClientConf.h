// Writing client.conf: from the package's template, the run's settings and an installed agent's
// configuration.
#pragma once

#include "corekit/text/String.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// What carrying an installed agent's configuration over needs to know of that agent.
struct InstalledConfiguration {
    corekit::String versionLabel;  // such as 6.0SP1
    corekit::String confPath;      // its client.conf
    bool registersSubAgents;       // version 6.0 or later
};

/// Writes a new client.conf to `outputPath`. With `installed` (and Upgrade absent or "yes") its values are
/// carried over and also become the settings they belong to. False with the error text set; `outputPath` may
/// then be half done.
bool WriteClientConf(const corekit::String& outputPath, Settings& settings,
                     const InstalledConfiguration* installed);

/// The same without an installed agent. Where no install directory is set, there is no template: the settings
/// are applied to the file as it is.
bool CreateClientConfFromTemplate(const corekit::String& outputPath, const Settings& settings);

}  // namespace Zorvane::AgentInstaller
