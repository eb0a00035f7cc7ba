// The install directory of the agent that is being configured.
#pragma once

#include "app/ConfigureRun.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller {

/// Creates the agent that is being configured. The package manager's directory of it, and over that
/// `givenDir` (of the option -dir) where it is not empty, becomes the setting InstallDir.
Outcome<> CreateNewAgent(ConfigureRun& run, const corekit::String& givenDir);

/// Gives the settings an install directory when no source named any: the new agent's, or else the one above
/// the directory of the running program, where that holds the agent's package. Makes it absolute, without
/// slashes at its end.
void CompleteInstallDir(ConfigureRun& run);

/// Refuses an install directory that holds a character which a shell or a search path would misread, and one
/// that is the host's own.
Outcome<> CheckInstallDir(const Settings& settings);

/// Lets the run remove the install directories of the new and of the installed agent even where they lie
/// directly in a directory that many share, such as /usr/share.
void DeclareInstallDirs(const ConfigureRun& run);

}  // namespace Zorvane::AgentInstaller
