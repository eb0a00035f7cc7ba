// Finding the agent that is installed on this host.
#pragma once

#include <memory>
#include <vector>

#include "agents/Agent.h"
#include "run/TrustedFile.h"

namespace Zorvane::AgentInstaller {

/// The agent found on the host, or null. A client.conf that an unfinished run has left does not count; the
/// agent that such a run was upgrading is described by its saved copy. Copies of unfinished runs are also
/// looked for below `moreDirs`, if no other agent is found.
std::unique_ptr<Agent> FindInstalledAgent(const std::vector<corekit::String>& moreDirs = {});

/// The agent that an unfinished run was upgrading into this directory, from its saved copy; null without one.
std::unique_ptr<Agent> AgentOfUnfinishedUpgrade(const corekit::String& installDir);

/// The agent that is being configured: a CurrentAgent with the directory that the package manager knows
/// (empty when it knows none or was not to be asked).
std::unique_ptr<Agent> CreateCurrentAgent();

/// The agent whose client.conf (or, after an unfinished upgrade, the copy of it) lies in etc below a base
/// directory, whether its configuration has finished or not. Null when there is none, when `baseDir` is
/// empty, and when others may have written the file, since a removal would follow every path in it; a warning
/// on standard error says so.
std::unique_ptr<Agent> AgentFromBaseDir(const corekit::String& baseDir);

/// The agent that a client.conf describes; the caller has checked that the file may be used. Null when the
/// version is not known, and when the file is none that can be read: a directory or a device must not pass
/// for the file of an agent before 6.0. An UnreadableAgent when reading fails for a reason that may pass, or
/// the file is too large.
std::unique_ptr<Agent> AgentFromConfigFile(const TrustedFile& file);

}  // namespace Zorvane::AgentInstaller
