// The steps of the configure sequence that deal with the agent found on the host.
#pragma once

#include "app/ConfigureRun.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller {

/// Merges what the installed agent's configuration provides into the settings. The server and identifier of
/// an XML file win over the installed agent's; a server that changes is marked, and then an identifier of the
/// old one is dropped. An upgrade into another directory that did not finish goes on there.
Outcome<> MergeInstalledSettings(ConfigureRun& run);

/// Where no agent to upgrade was found before the questions: takes up the upgrade that did not finish below
/// the directory of an answer. Its agent is the installed one from then on, and its configuration is merged
/// into `unanswered`. False, and nothing has changed, where there is no such upgrade.
Outcome<bool> TakeUpUpgrade(ConfigureRun& run, const corekit::String& installDir, Settings& unanswered);

/// Whether SaveInstalledConfiguration and RemoveInstalledIntegration can succeed. Changes nothing.
Outcome<> CheckInstalledAgent(const ConfigureRun& run);

/// Marks the install directory as that of a run which has not come to its end, and keeps the installed
/// agent's client.conf as etc/client.conf.old below it; the agent is read from there then. Without an agent
/// that is recognised, the client.conf of the install directory is kept, unless a run that did not finish has
/// left it.
Outcome<> SaveInstalledConfiguration(const ConfigureRun& run);

/// Removes an upgraded agent's services and links.
Outcome<> RemoveInstalledIntegration(const ConfigureRun& run);

/// Writes the new client.conf into the hand-over file. Nothing else on the host changes.
Outcome<> BuildConfiguration(ConfigureRun& run);

/// Removes or relocates the installed agent's files, and removes the hand-over files of package scripts.
Outcome<> RemoveInstalledFiles(const ConfigureRun& run);

}  // namespace Zorvane::AgentInstaller
