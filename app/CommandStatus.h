// The statuses of the three commands, and the refusals that they share.
#pragma once

#include "corekit/os/Application.h"
#include "run/RunLock.h"

namespace Zorvane::AgentInstaller {

inline constexpr unsigned kSuccess = 0;
inline constexpr unsigned kFailure = 1;
inline constexpr unsigned kUsageError = corekit::CommandBasedApp::kUsageError;

/// True, after `refusal` on standard output, when a plug-in process of the agent runs.
bool IsRefusedByRunningAgent(const corekit::String& refusal);

/// True, after a message on standard output, when another run holds the lock.
bool IsRefusedByAnotherRun(const RunLock& lock);

}  // namespace Zorvane::AgentInstaller
