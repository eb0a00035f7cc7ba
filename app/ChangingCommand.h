// A command that changes the host, as a preview sees it.
#pragma once

#include "corekit/os/Application.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

class ChangingCommand : public corekit::CommandBasedApp::Command {
  public:
    /// Why the command would do nothing right now; empty when it would run. Changes nothing.
    virtual corekit::String Refusal(const std::vector<corekit::String>& arguments) const = 0;

    /// The settings of the last run; null for a command that has none.
    virtual const Settings* LastSettings() const { return nullptr; }
};

}  // namespace Zorvane::AgentInstaller
