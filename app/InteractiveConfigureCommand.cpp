// The command -iconfigure: what differs from -configure.
#include "app/InteractiveConfigureCommand.h"

#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

unsigned InteractiveConfigureCommand::Run(const std::vector<String>& arguments) {
    SetInteractive();
    return RunWithOptions(arguments, NoIMode::Unknown);
}

void InteractiveConfigureCommand::Usage(const String& prefix) const {
    Messages::Tell(prefix + L" [-quiet]\n\n" + Description() +
                   L"\n\n"
                   L"Options:\n\n"
                   L"-nosearch\n"
                   L"\t[optional] Do not search for the installed agent.\n\n"
                   L"-dir <Agent-Base-Dir>\n"
                   L"\t[optional] Zorvane Agent for UNIX and Linux installation root folder.\n\n"
                   L"-quiet\n"
                   L"\t[optional] Generate no output.\n\n");
}

String InteractiveConfigureCommand::Description() const {
    return L"Interactively configure/reconfigure an installation ignoring any XML file.";
}

}  // namespace Zorvane::AgentInstaller
