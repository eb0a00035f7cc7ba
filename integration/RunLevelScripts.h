// The agent's service script and its registration for the run levels.
#pragma once

#include "integration/SetupContext.h"

namespace Zorvane::AgentInstaller {

/// Whether the template of the service script can be read, and the scripts can be put into their places.
Outcome<> CheckRunLevelScripts(const SetupContext& context);

/// The set-up step: installs the service script for the host's distribution family, and the agent's own
/// control script <InstallDir>/bin/rcscript, a link to it; without StartupOnBoot the control script is a copy
/// and the service is not registered.
Outcome<> SetUpRunLevelScripts(const SetupContext& context);

}  // namespace Zorvane::AgentInstaller
