// The install directory of the agent that is being configured: which source names it, and what no name may
// hold.
#include "app/InstallDirectory.h"

#include "agents/AgentDetection.h"
#include "run/Error.h"
#include "run/Messages.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

/// The environment script and the service script name the install directory unquoted.
constexpr const wchar_t* kMisreadByShells = L"'\"\\`\n\r$&;|<>()";

/// Where the package manager knows the agent.
void TakePackageDir(ConfigureRun& run) {
    if (run.newAgent && !run.newAgent->InstallDir().IsEmpty()) {
        run.settings->Value(L"InstallDir") = run.newAgent->InstallDir();
    }
}

}  // namespace

void CreateNewAgent(ConfigureRun& run, const String& givenDir) {
    run.newAgent = CreateCurrentAgent();
    // GCOVR_EXCL_START: there always is one
    if (!run.newAgent) run.ok = Error::Fail(L"Failed to create the new agent object.");
    // GCOVR_EXCL_STOP
    if (run.ok) TakePackageDir(run);
    if (!givenDir.IsEmpty()) run.settings->Value(L"InstallDir") = givenDir;
}

void CompleteInstallDir(ConfigureRun& run) {
    if (!run.settings->IsSet(L"InstallDir")) TakePackageDir(run);
}

bool CheckInstallDir(const Settings& settings) {
    const String installDir = settings.Get(L"InstallDir");
    if (MakeAbsolutePath(installDir).FindOneOf(kMisreadByShells) == String::npos) return true;
    return Error::Fail(String(L"Install directory %1 contains characters that are not allowed.")
                           .Arg(Messages::Shown(installDir)));
}

}  // namespace Zorvane::AgentInstaller
