// Starting the configured agent: the control script's start and status.
#include "integration/AgentStart.h"

#include "corekit/os/Sys.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "run/Rehearsal.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;
namespace PosixLocaleProgram = corekit::PosixLocaleProgram;

namespace {
constexpr unsigned kSecondsToComeUp = 10;
}

void StartAgent(const Settings& settings) {
    if (settings.Exists(L"Start") && !settings.IsYes(L"Start")) {
        Messages::Say(
            L"Not starting the Zorvane Agent at this time, agent will start at next system restart.\n");
        return;
    }
    Messages::Say(L"Starting Zorvane Agent for UNIX and Linux.\n");
    Rehearsal::bStartsAgent = Rehearsal::bIsOn;
    if (Rehearsal::bIsOn) return;
    const String control = corekit::Text::ShellWord(settings.Get(L"InstallDir") + Names::kControlScript);
    corekit::StringToMapFilter filter;
    Forgive(PosixLocaleProgram::Run(control + L" start", filter));
    corekit::Sys::Sleep(kSecondsToComeUp);
    Forgive(PosixLocaleProgram::Run(control + L" status", filter));
    Messages::Say(Messages::Shown(filter.RawData(0)) + L"\n");
}

}  // namespace Zorvane::AgentInstaller
