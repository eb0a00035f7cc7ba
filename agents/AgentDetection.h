// Finding the agent that is installed on this host, and which member of the family it is.
#pragma once

#include <memory>

#include "agents/Agent.h"
#include "corekit/IniFile.h"
#include "corekit/Version.h"

namespace Zorvane::AgentInstaller {

/// The agent found on the host, or null.
std::unique_ptr<Agent> FindInstalledAgent();

/// The agent that is being configured: a CurrentAgent with the directory that the package manager knows
/// (empty when it knows none or was not to be asked).
std::unique_ptr<Agent> CreateCurrentAgent();

/// The agent whose client.conf lies in etc below a base directory; null when there is none, when others may
/// have written it (told on standard error: a removal would follow every path in it), or when the text is
/// empty.
std::unique_ptr<Agent> AgentFromBaseDir(const corekit::String& baseDir);

/// The agent that a client.conf describes; null when it cannot be read or its version is not known.
std::unique_ptr<Agent> AgentFromConfigFile(const corekit::String& path);

/// The version that a client.conf states; 5.6.0 (5.5.0 for the inventory solution's file) when it states
/// none.
corekit::Version ReadAgentVersion(const corekit::IniFile& conf);

/// The member of the family for a version; null when none knows it.
std::unique_ptr<Agent> CreateAgentForVersion(const corekit::Version& version,
                                             const corekit::String& installDir);

}  // namespace Zorvane::AgentInstaller
