// An installation whose configuration is there and cannot be read now: a device gives an error, say.
#pragma once

#include "agents/Agent.h"
#include "run/Error.h"
#include "run/Texts.h"

namespace Zorvane::AgentInstaller {

/// Fails whatever is asked of it: neither is the host to be configured as if there were no agent, nor is its
/// agent to be reported as gone.
class UnreadableAgent : public Agent {
  public:
    explicit UnreadableAgent(const corekit::String& confPath) : Agent(corekit::String(), corekit::String()) {
        SetConfPath(confPath);
    }

    std::unique_ptr<Settings> LoadSettings() override { return nullptr; }
    bool RemoveSystemIntegration() override { return Error::Fail(Texts::kUnreadableFile, ConfPath()); }
    bool RemoveFiles(const corekit::String&) override { return RemoveSystemIntegration(); }
};

}  // namespace Zorvane::AgentInstaller
