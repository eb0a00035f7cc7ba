// Whether the agent's server can be reached.
#pragma once

#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller::Status {

/// True if one of the addresses that the host's getent(1) knows of the server's name takes a TCP connection.
/// All of it takes at most three seconds.
bool CanReach(const ServerUrl& server);

}  // namespace Zorvane::AgentInstaller::Status
