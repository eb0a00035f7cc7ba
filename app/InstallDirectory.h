// The install directory of the agent that is being configured.
#pragma once

#include "app/ConfigureRun.h"

namespace Zorvane::AgentInstaller {

/// Creates the agent that is being configured. The package manager's directory of it, and over that
/// `givenDir` (of the option -dir) where it is not empty, becomes the setting InstallDir.
void CreateNewAgent(ConfigureRun& run, const corekit::String& givenDir);

/// Gives the settings the new agent's install directory when no source named any.
void CompleteInstallDir(ConfigureRun& run);

/// False, with the error text set, when the install directory holds a character that a shell would misread.
bool CheckInstallDir(const Settings& settings);

}  // namespace Zorvane::AgentInstaller
