// The command -clean: its refusals, its options, and the agent's own Clean.
#include "app/CleanCommand.h"

#include <algorithm>

#include "agents/AgentDetection.h"
#include "app/ChangingCommand.h"
#include "apply/Recovery.h"
#include "config/SystemProbes.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/ini/IniFile.h"
#include "run/Args.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

constexpr const wchar_t* kRunning =
    L"  The Zorvane Agent for UNIX and Linux is running. Stop the agent before running qdn-configure.";
constexpr const wchar_t* kSolutionsDepend =
    L" There are some solutions that depend on Zorvane Agent for UNIX and Linux.\n Please uninstall them "
    L"first.\n";
constexpr const wchar_t* kNoClientConf =
    L"Can't find client.conf file: %1/etc/client.conf\nCheck parameter <Agent-Base-Dir>.\n\n";

/// A base directory, and nothing but -quiet after it.
bool ParseArguments(const std::vector<String>& arguments) {
    if (arguments.empty()) return false;
    const bool onlyQuiet = std::all_of(arguments.begin() + 1, arguments.end(),
                                       [](const String& option) { return option == L"-quiet"; });
    if (onlyQuiet && arguments.size() > 1) Args::bQuiet = true;
    return onlyQuiet;
}

/// The server that the agent reports to; empty when its client.conf names none.
String ServerOf(const Agent& agent) {
    const corekit::IniFile conf(agent.ConfPath(), agent.ReadConf().value_or(std::string()),
                                corekit::IniFile::KeyCase::FallBack);
    return ConfiguredServer(conf);
}

}  // namespace

unsigned CleanCommand::Perform(const std::vector<String>& arguments) {
    if (!arguments.empty() && !arguments.front().StartsWith(L"-"))
        RunRecord::SetInstallDir(arguments.front());
    if (RefuseOrdinaryUser() || RefuseRunningAgent(kRunning)) return kFailure;
    if (!ParseArguments(arguments)) return kUsageError;
    const String& baseDir = arguments.front();
    if (!RunMode::isRehearsal && HasRegisteredSolutions(baseDir)) {
        Messages::Tell(kSolutionsDepend);
        return kFailure;
    }
    const RunLock lock;
    if (RefuseSecondRun(lock)) return kFailure;
    if (const auto finished = Apply::FinishFormerApply(); !finished) return Report(finished.error());
    const auto agent = AgentFromBaseDir(baseDir);
    if (!agent) {
        Messages::Tell(String(kNoClientConf).Arg(Messages::Shown(baseDir)));
        return kSuccess;
    }
    RunRecord::SetServer(ServerOf(*agent));
    corekit::DeclareOwnName(Names::kServiceName);
    corekit::DeclareOwn(baseDir);
    if (const auto cleaned = agent->Clean(); !cleaned) return Report(cleaned.error());
    return kSuccess;
}

String CleanCommand::Refusal(const std::vector<String>& arguments) const {
    if (IsPluginProcessRunning()) return kRunning;
    if (const String lasting = LastingRefusal(arguments); !lasting.IsEmpty()) return lasting;
    return RunLock::IsHeld() ? kAnotherRun : L"";
}

String CleanCommand::LastingRefusal(const std::vector<String>& arguments) const {
    return !arguments.empty() && HasRegisteredSolutions(arguments.front()) ? kSolutionsDepend : L"";
}

void CleanCommand::Usage(const String& prefix) const {
    Messages::Tell(prefix +
                   L" <Agent-Base-Dir> [-quiet]\n\n"
                   L"Remove all files previously created by qdn-configure.\n\n"
                   L"Options:\n\n"
                   L"<Agent-Base-Dir>\n"
                   L"\tAbsolute path to the Zorvane Agent for UNIX and Linux installation root.\n\n"
                   L"-quiet\n"
                   L"\t[optional] Generate no output.\n\n");
}

String CleanCommand::Description() const {
    return L"Remove qdn-configure created files prior to uninstall.";
}

}  // namespace Zorvane::AgentInstaller
