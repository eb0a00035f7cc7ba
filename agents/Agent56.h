// Agents of version 5.6.
#pragma once

#include "agents/Agent.h"

namespace Zorvane::AgentInstaller {

class Agent56 : public Agent {
  public:
    using Agent::Agent;

    Outcome<std::unique_ptr<Settings>> LoadSettings() override;
    Outcome<> RemoveSystemIntegration() override;
    Outcome<> RemoveFiles(const corekit::String& newConfPath) override;
};

}  // namespace Zorvane::AgentInstaller
