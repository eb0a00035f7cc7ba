// Finding the process of a running agent.
#pragma once

#include <optional>
#include <sys/types.h>

#include "corekit/text/String.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// The process id of the agent that runs from an install directory: the one that its pid file names, else its
/// oldest process. None when none of its processes runs under this root directory: an agent of a container
/// does not count. Any user may ask.
std::optional<pid_t> FindAgentProcess(const corekit::String& installDir);

/// Unless the setting Start says otherwise, starts the agent through its control script, gives its processes
/// ten seconds to come up and shows its status line; an agent that does not run then is warned of. Never
/// fails the run.
/// An attempt leaves the waiting and the looking to its caller.
void StartAgent(const Settings& settings);

/// Stops the agent of an install directory by its control script. False when a process of it still runs after
/// a few seconds.
bool StopAgent(const corekit::String& installDir);

/// Starts the agent of an install directory by its control script, after it had to be stopped; one that does
/// not run then is warned of.
void StartAgentAgain(const corekit::String& installDir);

}  // namespace Zorvane::AgentInstaller
