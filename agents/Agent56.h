// Agents of version 5.6.
#pragma once

#include "agents/Agent.h"

namespace Zorvane::AgentInstaller {

class Agent56 : public Agent {
  public:
    using Agent::Agent;

    std::unique_ptr<Settings> LoadSettings() override;
    bool RemoveSystemIntegration() override;
    bool RemoveFiles(const corekit::String& newConfPath) override;
};

}  // namespace Zorvane::AgentInstaller
