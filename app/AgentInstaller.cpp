// The application: the banner before every command.
#include "app/AgentInstaller.h"

#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

int AgentInstaller::AppMain() {
    Messages::Tell(L"Zorvane Agent for UNIX and Linux Configuration utility.\n");
    return Run();
}

}  // namespace Zorvane::AgentInstaller
