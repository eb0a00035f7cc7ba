// The marker that the package scripts leave when they put the same agent back on the host.
#pragma once

namespace Zorvane::AgentInstaller {

/// Is a reinstall of the agent under way? Only a marker that can be trusted counts.
bool IsReinstallPending();

/// Warns of a marker that is there and does not count.
void WarnOfUnusedReinstallMarker();

}  // namespace Zorvane::AgentInstaller
