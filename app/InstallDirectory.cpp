// The install directory of the agent that is being configured: which source names it, and which names are
// refused.
#include "agents/AgentDetection.h"
#include "app/ConfigureSteps.h"
#include "config/SystemProbes.h"
#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace Path = corekit::Path;

namespace {

/// The environment script and the service script name the install directory unquoted, and the former puts it
/// on search paths.
constexpr const wchar_t* kMisread = L"'\"\\`\n\r$&;|<>() \t:";

/// The directory that the package manager knows for the agent.
void TakePackageDir(ConfigureRun& run) {
    if (run.newAgent && !run.newAgent->InstallDir().IsEmpty()) {
        run.settings->Set(L"InstallDir", run.newAgent->InstallDir(), {Source::Kind::PackageManager});
    }
}

/// The directory above that of the running program, where it is an install directory; else "".
String InstallDirOfRunningProgram() {
    const String directory = DirOfRunningProgram();
    return corekit::File::Exists(directory + Names::kClientProto) ? directory : String();
}

}  // namespace

Outcome<> CreateNewAgent(ConfigureRun& run, const String& givenDir) {
    run.newAgent = CreateCurrentAgent();
    TakePackageDir(run);
    if (!givenDir.IsEmpty()) run.settings->Set(L"InstallDir", givenDir, {Source::Kind::Option, L"-dir"});
    if (run.settings->IsSet(L"InstallDir")) {
        String& directory = run.settings->Value(L"InstallDir");
        directory = Path::WithoutTrailingSlashes(directory);
    }
    if (!run.newAgent) return Fail(L"Failed to create the new agent object.");
    return {};
}

void CompleteInstallDir(ConfigureRun& run) {
    if (!run.settings->IsSet(L"InstallDir")) TakePackageDir(run);
    if (!run.settings->IsSet(L"InstallDir"))
        run.settings->Set(L"InstallDir", InstallDirOfRunningProgram(), {Source::Kind::Program});
    if (!run.settings->IsSet(L"InstallDir")) return;
    String& directory = run.settings->Value(L"InstallDir");
    directory = Path::WithoutTrailingSlashes(MakeAbsolutePath(directory));
}

Outcome<> CheckInstallDir(const Settings& settings) {
    const String directory = settings.Get(L"InstallDir");
    const String shown = Messages::Shown(directory);
    if (directory.FindOneOf(kMisread) != String::npos)
        return Fail(String(L"Install directory %1 contains characters that are not allowed.").Arg(shown));
    if (!directory.IsEmpty() && !corekit::CheckInstallable(directory))
        return Fail(String(L"Install directory %1 is a directory of the host.").Arg(shown));
    return {};
}

void DeclareInstallDirs(const ConfigureRun& run) {
    corekit::DeclareOwnName(Names::kServiceName);
    corekit::DeclareOwn(run.settings->Get(L"InstallDir"));
    if (run.installed) corekit::DeclareOwn(Path::GetDirectory(Path::GetDirectory(run.installed->ConfPath())));
}

}  // namespace Zorvane::AgentInstaller
