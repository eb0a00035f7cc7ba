// Writing the new client.conf into its hand-over file, with an installed agent's values carried across.
#pragma once

#include "config/ClientConf.h"
#include "config/HandOverFile.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Creates the hand-over file and has it written. `installed` is the agent whose settings may be carried
/// over, null when there is none; they are carried unless the setting Upgrade is exactly "no". False with the
/// error text set, and no file.
bool MigrateSettings(HandOverFile& handOver, const InstalledConfiguration* installed, Settings& settings);

}  // namespace Zorvane::AgentInstaller
