// The registrations of sub-agents in client.conf.
#pragma once

#include "config/ClientConfDraft.h"

namespace Zorvane::AgentInstaller {

/// Copies the registrations of class servers, sub-agents, roles and static agents from an older client.conf
/// to the new one; the agent's own tracker is never copied. Always true.
bool CarryOverSubAgents(const corekit::IniFile& oldIni, ClientConfDraft& draft);

}  // namespace Zorvane::AgentInstaller
