// Writing client.conf: from the package's template, the run's settings and an installed agent's
// configuration.
#pragma once

#include "corekit/text/String.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// What carrying an installed agent's configuration over needs to know of that agent.
struct InstalledConfiguration {
    corekit::String versionLabel;  // such as 6.0SP1
    corekit::String confPath;      // its client.conf
    bool registersSubAgents;       // version 6.0 or later
};

/// What a new client.conf was made from, beside the settings.
enum class ClientConfSource { Template, InstalledAgent, Nothing };

/// Writes a new client.conf to `outputPath`. With `installed` (and Upgrade absent or "yes") its values are
/// carried over and also become the settings they belong to. The settings know then where each key is from.
/// Nothing else on the host changes, and nothing is
/// said. On failure `outputPath` may be half done.
Outcome<ClientConfSource> WriteClientConf(const corekit::String& outputPath, Settings& settings,
                                          const InstalledConfiguration* installed);

/// The same without an installed agent. Where no install directory is set, there is no template: the settings
/// are applied to the file as it is.
Outcome<ClientConfSource> CreateClientConfFromTemplate(const corekit::String& outputPath, Settings& settings);

}  // namespace Zorvane::AgentInstaller
