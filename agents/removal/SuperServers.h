// Taking the message listener of version 5.6 out of the host's super-server.
#pragma once

#include "agents/removal/RemovalOutcome.h"

namespace Zorvane::AgentInstaller {

/// Removes the agent's entries from xinetd's configuration or else inetd's, makes the running super-server
/// read it again, and removes the agent's ports from /etc/services. Failures are ignored; it tells what is
/// left.
RemovalOutcome RemoveSuperServerEntries();

/// Removes what a run that was killed or failed left beside those files.
void ClearUpAfterSuperServerEntries();

}  // namespace Zorvane::AgentInstaller
