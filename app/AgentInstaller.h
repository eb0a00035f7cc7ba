// The application: a banner, and the command that the command line names.
#pragma once

#include "corekit/os/Application.h"

namespace Zorvane::AgentInstaller {

class AgentInstaller : public corekit::CommandBasedApp {
  public:
    using CommandBasedApp::CommandBasedApp;

    int AppMain() override;
};

}  // namespace Zorvane::AgentInstaller
