// The directories that client.conf names: looked at before a run changes anything, and made before the agent
// starts.
#pragma once

#include "corekit/ini/IniFile.h"
#include "corekit/text/String.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller {

/// Success when the path is, or could be made, a writable directory. Making it, with all directories above,
/// is told on standard output unless the run is quiet.
Outcome<> CreateConfiguredDirectory(const corekit::String& path);

/// Success when the path is a writable directory. Makes nothing.
Outcome<> CheckConfiguredDirectory(const corekit::String& path);

/// Makes all directories that a client.conf names, in order, up to the first that fails.
Outcome<> PrepareConfiguredDirectories(const corekit::IniFile& conf);

/// Fails as PrepareConfiguredDirectories would, and makes nothing.
Outcome<> CheckConfiguredDirectories(const corekit::IniFile& conf);

}  // namespace Zorvane::AgentInstaller
