// An installation that cannot be upgraded: version 5.5, or one whose configuration nobody understands.
#pragma once

#include "agents/Agent.h"

namespace Zorvane::AgentInstaller {

/// Gives no settings and leaves everything where it is.
class UnsupportedAgent : public Agent {
  public:
    using Agent::Agent;

    std::unique_ptr<Settings> LoadSettings() override { return nullptr; }
    bool RemoveSystemIntegration() override { return true; }
    bool RemoveFiles(const corekit::String&) override { return true; }
    bool IsUpgradeSupported() const override { return false; }
};

}  // namespace Zorvane::AgentInstaller
