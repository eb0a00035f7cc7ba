// The application: the banner before every command whose output people read.
#pragma once

#include "app/ApplyCommand.h"
#include "app/PreviewCommand.h"
#include "app/StatusCommand.h"
#include "corekit/os/Application.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

class AgentInstaller : public corekit::CommandBasedApp {
  public:
    using CommandBasedApp::CommandBasedApp;

    int AppMain() override {
        const bool isForPrograms = PreviewCommand::WantsNoBanner(Arguments()) ||
                                   StatusCommand::WantsNoBanner(Arguments()) ||
                                   ApplyCommand::WantsNoBanner(Arguments());
        if (!isForPrograms) Messages::Tell(kBanner);
        return Run();
    }
};

}  // namespace Zorvane::AgentInstaller
