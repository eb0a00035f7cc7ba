// Finding the agent that is installed on this host.
#pragma once

#include <memory>
#include <vector>

#include "agents/Agent.h"
#include "run/TrustedFile.h"

namespace Zorvane::AgentInstaller {

/// The agent found on the host, or null. A client.conf that an unfinished run has left is none; the agent
/// that such a run was upgrading is what its saved copy says. Copies of unfinished runs are also looked for
/// below `moreDirs`, where no other agent is.
std::unique_ptr<Agent> FindInstalledAgent(const std::vector<corekit::String>& moreDirs = {});

/// The agent that a run which did not finish was upgrading into this directory, as its saved copy says; else
/// null.
std::unique_ptr<Agent> AgentOfUnfinishedUpgrade(const corekit::String& installDir);

/// The agent that is being configured: a CurrentAgent with the directory that the package manager knows
/// (empty when it knows none or was not to be asked).
std::unique_ptr<Agent> CreateCurrentAgent();

/// The agent whose client.conf (or, where an upgrade has not come to its end, the copy of it) lies in etc
/// below a base directory, finished or not; null when there is none, when others may have written it (told on
/// standard error: a removal would follow every path in it), or when the text is empty.
std::unique_ptr<Agent> AgentFromBaseDir(const corekit::String& baseDir);

/// The agent that a client.conf describes, by what it holds now; null when it cannot be read (a directory or
/// a device must not pass for the file of an agent before 6.0) or its version is not known. Whether the file
/// may be used is for the caller to ask.
std::unique_ptr<Agent> AgentFromConfigFile(const TrustedFile& file);

}  // namespace Zorvane::AgentInstaller
