// Finding the agent that is installed on this host.
#pragma once

#include <memory>

#include "agents/Agent.h"
#include "run/TrustedFile.h"

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

/// The agent that a client.conf describes, by what it holds now; null when it cannot be read (a directory or
/// a device must not pass for the file of an agent before 6.0) or its version is not known. Whether the file
/// may be used is for the caller to ask.
std::unique_ptr<Agent> AgentFromConfigFile(const TrustedFile& file);

}  // namespace Zorvane::AgentInstaller
