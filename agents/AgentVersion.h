// Which version of the agent a client.conf is of, and which member of the family stands for it.
#pragma once

#include <memory>

#include "agents/Agent.h"
#include "corekit/ini/IniFile.h"
#include "corekit/text/Version.h"

namespace Zorvane::AgentInstaller {

/// The version that a client.conf states; 5.6.0 (5.5.0 for the inventory solution's file) when it states
/// none.
corekit::Version ReadAgentVersion(const corekit::IniFile& conf);

/// The member of the family for a version, without a configuration file; null when none knows it.
std::unique_ptr<Agent> CreateAgentForVersion(const corekit::Version& version,
                                             const corekit::String& installDir);

}  // namespace Zorvane::AgentInstaller
