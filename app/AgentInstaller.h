// The application: the banner before every command.
#pragma once

#include "corekit/os/Application.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

class AgentInstaller : public corekit::CommandBasedApp {
  public:
    using CommandBasedApp::CommandBasedApp;

    int AppMain() override {
        Messages::Tell(L"Zorvane Agent for UNIX and Linux Configuration utility.\n");
        return Run();
    }
};

}  // namespace Zorvane::AgentInstaller
