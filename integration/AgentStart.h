// Starting the configured agent.
#pragma once

#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Unless the setting Start says otherwise, starts the agent through its control script, gives its processes
/// ten seconds to come up and shows its status line; an agent that does not run then is warned of. Never
/// fails the run.
void StartAgent(const Settings& settings);

}  // namespace Zorvane::AgentInstaller
