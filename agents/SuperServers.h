// Taking the message listener of version 5.6 out of the host's super-server.
#pragma once

namespace Zorvane::AgentInstaller {

/// Removes the agent's entries from xinetd's configuration or else inetd's, makes the running super-server
/// read it again, and removes the agent's ports from /etc/services.
void RemoveSuperServerEntries();

}  // namespace Zorvane::AgentInstaller
