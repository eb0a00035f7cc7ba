// Writing the new client.conf into its hand-over file, with an installed agent's values carried across.
#pragma once

#include "config/ClientConf.h"
#include "config/HandOverFile.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Creates the hand-over file and has it written. `installed` is the agent whose settings may be carried
/// over, null when there is none; they are carried unless the setting Upgrade is exactly "no". Returns what
/// the operator is to be told of it once the file is put to use; on failure there is no file.
Outcome<corekit::String> MigrateSettings(HandOverFile& handOver, const InstalledConfiguration* installed,
                                         Settings& settings);

}  // namespace Zorvane::AgentInstaller
