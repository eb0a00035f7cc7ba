// Taking the message listener of version 5.6 out of the host's super-server.
#pragma once

#include "agents/removal/RemovalOutcome.h"

namespace Zorvane::AgentInstaller {

/// Removes the agent's entries from xinetd's configuration or else inetd's, makes the running super-server
/// read it again, and removes the agent's ports from /etc/services. Returns what is left. Warns of a file
/// that cannot be edited, which stays as it is: "WARNING! <path> is not edited: <why>."
RemovalOutcome RemoveSuperServerEntries();

}  // namespace Zorvane::AgentInstaller
