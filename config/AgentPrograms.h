// The agent's programs in an installation.
#pragma once

#include <vector>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Where the programs of an install directory are: its "bin".
corekit::String ProgramDirectory(const corekit::String& installDir);

/// Adds the programs that are there: the name, without ".bin", of each file qdn-*.bin. Fails when the
/// directory cannot be read; what was read of it counts.
corekit::Result FindPrograms(const corekit::String& programDir, std::vector<corekit::String>& programs);

/// True if `path` is a symbolic link that leads below an install directory of the agent's: `installDir`, the
/// usual one, or one where the agent's package has been laid down; or if it leads to a program of its own
/// name that is gone from its "bin", as an agent leaves it that has moved or been removed.
bool IsAgentLink(const corekit::String& path, const corekit::String& installDir);

}  // namespace Zorvane::AgentInstaller
