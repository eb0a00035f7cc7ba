// The steps of the configure sequence that deal with the agent found on the host.
#pragma once

#include "app/ConfigureRun.h"

namespace Zorvane::AgentInstaller {

/// Merges what the installed agent's configuration provides into the settings. The server and identifier of
/// an XML file win over the installed agent's; a server that changes is marked, and then an identifier of the
/// old one is dropped.
void MergeInstalledSettings(ConfigureRun& run);

/// Keeps the installed agent's client.conf as etc/client.conf.old below the install directory; the agent is
/// read from there then. Without one that is recognised, the client.conf of the install directory is kept.
/// False with the error text set.
bool SaveInstalledConfiguration(const ConfigureRun& run);

/// Removes an upgraded agent's services and links. False with the error text set.
bool RemoveInstalledIntegration(const ConfigureRun& run);

/// Writes the new client.conf into the hand-over file. False with the error text set.
bool MigrateInstalledSettings(ConfigureRun& run);

/// Removes or relocates the installed agent's files, and removes the hand-over files of package scripts.
bool RemoveInstalledFiles(const ConfigureRun& run);

}  // namespace Zorvane::AgentInstaller
