// The agent's process: finding, starting and stopping it.
#pragma once

#include <optional>
#include <sys/types.h>

#include "corekit/text/String.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// The process id of the agent that runs from an install directory: the one that its pid file names, else its
/// oldest process. None when no process of it runs under this root directory: an agent in a container does
/// not count. Works for every user.
std::optional<pid_t> FindAgentProcess(const corekit::String& installDir);

/// Starts the agent through its control script, unless the setting Start says otherwise, gives its processes
/// ten seconds to come up and shows its status line; warns if the agent does not run then. Never fails the
/// run. In an attempt, returns at once: the caller watches the agent.
void StartAgent(const Settings& settings);

/// Stops the agent of an install directory by its control script. Returns false if a process of it still runs
/// after a few seconds.
bool StopAgent(const corekit::String& installDir);

/// Starts the agent of an install directory again after it had to be stopped; warns if it does not run then.
void StartAgentAgain(const corekit::String& installDir);

}  // namespace Zorvane::AgentInstaller
