// Finding the process of a running agent.
#pragma once

#include <optional>
#include <sys/types.h>

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// The process id of the agent that runs from an install directory: the one that its pid file names, else its
/// oldest process. None when none of its processes runs under this root directory: an agent of a container
/// does not count. Any user may ask.
std::optional<pid_t> FindAgentProcess(const corekit::String& installDir);

}  // namespace Zorvane::AgentInstaller
