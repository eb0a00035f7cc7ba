// The directories that client.conf names: made or checked before the agent starts.
#pragma once

#include "corekit/ini/IniFile.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// 0 when the path is, or could be made, a writable directory; else 1 with the error text set. Making it,
/// with all directories above, is told on standard output unless the run is quiet.
int CreateConfiguredDirectory(const corekit::String& path);

/// 0 when the path is a writable directory; else 1 with the error text set. Makes nothing.
int CheckConfiguredDirectory(const corekit::String& path);

/// All directories that a client.conf names, in order, up to the first that fails; then false with the error
/// text set.
bool PrepareConfiguredDirectories(const corekit::IniFile& conf);

}  // namespace Zorvane::AgentInstaller
