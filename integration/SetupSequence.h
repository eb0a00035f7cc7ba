// The set-up sequence: the new client.conf moves into place and the agent becomes part of the host.
#pragma once

#include "integration/SetupContext.h"

namespace Zorvane::AgentInstaller {

/// Moves the generated client.conf into place and runs the set-up steps up to the first that fails; what was
/// done stays. The install directory is the current directory afterwards. False with the error text set.
bool RunSetupSequence(SetupContext& context, const Settings& settings);

}  // namespace Zorvane::AgentInstaller
