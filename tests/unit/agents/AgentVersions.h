// Agents and their configuration files of any version.
#pragma once

#include <memory>
#include <string>
#include <typeinfo>

#include "agents/Agent.h"

namespace Zorvane::AgentInstaller {

/// Is the agent this member of the family, and none that derives from it?
template <typename Member>
bool Is(const std::unique_ptr<Agent>& agent) {
    const Agent* member = agent.get();
    return member != nullptr && typeid(*member) == typeid(Member);
}

/// A client.conf that states its version, and an install directory that tells it: 6, 0, 250 is in /opt/60250.
inline std::string ConfOf(const std::string& major, const std::string& minor, const std::string& build) {
    return "[Version]\nagent_major=" + major + "\nagent_minor=" + minor + "\nagent_build=" + build +
           "\n[Configuration]\ninstalldir=/opt/" + major + minor + build + "\n";
}

}  // namespace Zorvane::AgentInstaller
