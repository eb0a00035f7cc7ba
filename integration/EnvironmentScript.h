// The environment script qdn-env, by which every program of the agent gets its search paths and its
// configuration.
#pragma once

#include "integration/SetupContext.h"

namespace Zorvane::AgentInstaller {

/// Whether the script can be written.
Outcome<> CheckEnvironmentScript(const SetupContext& context);

/// The set-up step: writes <InstallDir>/bin/qdn-env.
Outcome<> CreateScriptsStep(const SetupContext& context);

/// Writes the script for an install directory, in full, with mode 0755; its directory is made when missing.
Outcome<> WriteEnvironmentScript(const corekit::String& scriptPath, const corekit::String& installDir);

}  // namespace Zorvane::AgentInstaller
