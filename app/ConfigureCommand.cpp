// The commands -configure and -iconfigure: options, texts, and the XML configuration file.
#include "app/ConfigureCommand.h"

#include "app/ChangingCommand.h"
#include "apply/Recovery.h"
#include "config/SystemProbes.h"
#include "run/Args.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {
constexpr const wchar_t* kAlreadyRunning =
    L"  The Zorvane Agent for UNIX and Linux is already running. Stop the agent before running "
    L"qdn-configure.";
}

unsigned ConfigureCommand::Perform(const std::vector<String>& arguments) {
    return RunWithOptions(arguments, NoIMode::Accepted);
}

unsigned ConfigureCommand::RunWithOptions(const std::vector<String>& arguments, NoIMode noIMode) {
    if (RefuseOrdinaryUser() || RefuseRunningAgent(kAlreadyRunning)) return kFailure;
    if (const unsigned status = ParseOptions(arguments, noIMode); status != kSuccess) return status;
    const RunLock lock;
    if (RefuseSecondRun(lock)) return kFailure;
    if (const auto finished = Apply::FinishFormerApply(); !finished) return Report(finished.error());
    return Configure();
}

String ConfigureCommand::Refusal(const std::vector<String>&) const {
    if (IsPluginProcessRunning()) return kAlreadyRunning;
    return RunLock::IsHeld() ? kAnotherRun : L"";
}

unsigned ConfigureCommand::ParseOptions(const std::vector<String>& arguments, NoIMode noIMode) {
    for (auto option = arguments.begin(); option != arguments.end(); ++option) {
        if (*option == L"-quiet") {
            Args::bQuiet = true;
        } else if (*option == L"-noimode" && noIMode == NoIMode::Accepted) {
            m_bNoIMode = true;
        } else if (*option == L"-nosearch") {
            Args::bNoSearch = true;
        } else if (*option != L"-dir") {
            return kUsageError;
        } else if (option + 1 == arguments.end()) {
            Messages::Warn(String(L"Option '%1' requires an argument.\n").Arg(*option));
            return kUsageError;
        } else {
            m_sDir = *++option;
            RunRecord::SetInstallDir(m_sDir);
        }
    }
    return kSuccess;
}

std::unique_ptr<Settings> ConfigureCommand::LoadXmlSettings() {
    return m_xmlFile.Load();
}

bool ConfigureCommand::RemoveXmlConfigFile() {
    m_xmlFile.Remove();
    return true;
}

void ConfigureCommand::Usage(const String& prefix) const {
    Messages::Tell(
        prefix + L" [options]\n\n" + Description() +
        L"\n\n"
        L"Options:\n\n"
        L"-noimode\n"
        L"\t\t[optional] By default, if utility fails to find\teither a previously installed agent or an "
        L"XML-formatted \tconfiguration file, it steps into the interactive mode.\tBy specifying this "
        L"option, you may disable this behaviour.\n\n"
        L"-nosearch\n"
        L"\t[optional] Do not search for the installed agent.\n\n"
        L"-dir <Agent-Base-Dir>\n"
        L"\t[optional] Zorvane Agent for UNIX and Linux installation root folder.\n"
        L"-quiet\n"
        L"\t[optional] Generate no output.\n\n");
}

String ConfigureCommand::Description() const {
    return L"Automatically configure/upgrade an installation from an XML config file.";
}

unsigned InteractiveConfigureCommand::Perform(const std::vector<String>& arguments) {
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
