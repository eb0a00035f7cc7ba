// Starting the configured agent: the control script's start and status.
#include "integration/AgentStart.h"

#include "corekit/ini/IniFile.h"
#include "corekit/os/Sys.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"
#include "integration/AgentProcess.h"
#include "run/Args.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;
namespace PosixLocaleProgram = corekit::PosixLocaleProgram;

namespace {

constexpr unsigned kSecondsToComeUp = 10;

void WarnOfStoppedAgent(const String& installDir) {
    const corekit::IniFile conf(installDir + Names::kClientConf);
    const String log = GetValue(conf, Key::kDebugOutput);
    const String shown = log.IsEmpty() ? String(L"its log") : Messages::Shown(log);
    Messages::Warn(String(L"WARNING! The agent does not run. See %1.\n").Arg(shown));
}

/// By the agent's control script; whether that did it is for the caller to see.
void Control(const String& installDir, const wchar_t* action) {
    const String script = corekit::Text::ShellWord(installDir + Names::kControlScript);
    corekit::StringToMapFilter filter;
    Forgive(PosixLocaleProgram::Run(script + L" " + action, filter));
}

}  // namespace

void StartAgent(const Settings& settings) {
    if (settings.Exists(L"Start") && !settings.IsYes(L"Start")) {
        Messages::Say(
            L"Not starting the Zorvane Agent at this time, agent will start at next system restart.\n");
        return;
    }
    Messages::Say(L"Starting Zorvane Agent for UNIX and Linux.\n");
    Rehearsal::bStartsAgent = Rehearsal::bIsOn;
    if (Rehearsal::bIsOn) return;
    const String installDir = settings.Get(L"InstallDir");
    Control(installDir, L"start");
    if (Rehearsal::bIsAttempt) return;
    corekit::Sys::Sleep(kSecondsToComeUp);
    const String control = corekit::Text::ShellWord(installDir + Names::kControlScript);
    corekit::StringToMapFilter filter;
    // The status itself comes on a line of its own, after whatever the script prints.
    Forgive(PosixLocaleProgram::Run(control + L" status; printf '\\n%s\\n' $?", filter));
    Messages::Say(Messages::Shown(filter.RawData(0)) + L"\n");
    if (filter.Count() == 0 || filter.RawData(filter.Count() - 1) != L"0") WarnOfStoppedAgent(installDir);
}

bool StopAgent(const String& installDir) {
    if (Rehearsal::bIsOn) return true;
    Control(installDir, L"stop");
    constexpr unsigned kSecondsToEnd = 5;
    for (unsigned second = 0; FindAgentProcess(installDir); ++second) {
        if (second == kSecondsToEnd) return false;
        corekit::Sys::Sleep(1);
    }
    return true;
}

void StartAgentAgain(const String& installDir) {
    if (Rehearsal::bIsOn) return;
    Control(installDir, L"start");
    if (!FindAgentProcess(installDir)) WarnOfStoppedAgent(installDir);
}

}  // namespace Zorvane::AgentInstaller
