// The command -clean: removes what configuring made, before the package goes.
#pragma once

#include "corekit/os/Application.h"

namespace Zorvane::AgentInstaller {

class CleanCommand : public corekit::CommandBasedApp::Command {
  public:
    unsigned Run(const std::vector<corekit::String>& arguments) override;
    void Usage(const corekit::String& prefix) const override;
    corekit::String Description() const override;
};

}  // namespace Zorvane::AgentInstaller
