// The agent found on the host: what is taken over from it, what is kept of it, what is removed.
#include "app/InstalledAgentSteps.h"

#include <string>

#include "config/PathMacros.h"
#include "config/SystemProbes.h"
#include "corekit/Dir.h"
#include "corekit/File.h"
#include "corekit/Path.h"
#include "run/Error.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "settings/Migration.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;
namespace File = corekit::File;

void MergeInstalledSettings(ConfigureRun& run) {
    const auto old = run.installed->LoadSettings();
    const String confPath = run.installed->ConfPath();
    if (!old) {
        // Going on would replace the administrator's values by defaults.
        run.ok =
            confPath.IsEmpty() || Error::Fail(L"Missing or unreadable file in install. File: ", confPath);
        return;
    }
    Settings& settings = *run.settings;
    const String url = settings.Value(L"KSUrlFormat");
    const String name = settings.Value(L"KSName");
    const String guid = settings.Value(L"Guid");
    settings.Merge(*old);
    const String merged = settings.Value(L"KSName");
    if (!url.IsEmpty() && run.xmlLoaded) settings.Value(L"KSUrlFormat") = url;
    if (!name.IsEmpty() && !merged.IsEmpty() && ServerNamesDiffer(name, merged)) {
        settings.Value(L"KSNameChanged") = L"true";
    }
    if (!name.IsEmpty() && run.xmlLoaded) settings.Value(L"KSName") = name;
    if (!guid.IsEmpty() || settings.Value(L"KSNameChanged") == L"true") settings.Value(L"Guid") = guid;
}

void CompleteInstallDir(ConfigureRun& run) {
    if (!run.settings->IsSet(L"InstallDir") && run.newAgent && !run.newAgent->InstallDir().IsEmpty()) {
        run.settings->Value(L"InstallDir") = run.newAgent->InstallDir();
    }
}

bool SaveInstalledConfiguration(const ConfigureRun& run) {
    const String installDir = MakeAbsolutePath(run.settings->Value(L"InstallDir"));
    const bool isKnown = run.installed && !run.installed->ConfPath().IsEmpty();
    // The file of an agent that nobody recognised would be replaced all the same.
    const String original = isKnown ? run.installed->ConfPath() : installDir + Names::kClientConf;
    const String saved = installDir + Names::kSavedClientConf;
    if (corekit::Path::IsMatch(original, saved) || (!isKnown && !File::Exists(original))) return true;
    constexpr unsigned kPrivate = 0600;
    std::string bytes;
    Forgive(corekit::Dir::CreateR(corekit::Path::GetDirectory(saved)));
    Forgive(File::Chmod(saved, kPrivate));
    const auto read = isKnown ? run.installed->ReadConf(bytes) : File::ReadBytes(original, bytes);
    if (!read || !File::WriteBytes(saved, bytes, kPrivate))
        return Error::Fail(L"Unable to write to file: ", saved);
    // Whatever becomes of the original from here on, nothing that it held is lost.
    if (isKnown) run.installed->SetConfPath(saved);
    return true;
}

bool RemoveInstalledIntegration(const ConfigureRun& run) {
    if (!run.installed || !run.installed->IsUpgradeSupported() || run.installed->RemoveSystemIntegration())
        return true;
    return Error::Fail(L"Failed to clean old agent files.");
}

bool MigrateInstalledSettings(ConfigureRun& run) {
    const Agent* agent = run.installed && run.installed->IsUpgradeSupported() ? run.installed.get() : nullptr;
    InstalledConfiguration installed;
    if (agent) installed = {agent->VersionLabel(), agent->ConfPath(), agent->RegistersSubAgents()};
    if (!MigrateSettings(run.handOver, agent ? &installed : nullptr, *run.settings)) return false;
    if (!run.settings->IsSet(L"KSName")) Messages::Warn(L"WARNING! No Kell Server name is configured.\n");
    return true;
}

bool RemoveInstalledFiles(const ConfigureRun& run) {
    const bool removed = !run.installed || run.installed->RemoveFiles(run.handOver.Path());
    if (!corekit::Dir::Remove(Names::kHandOverDir)) Forgive(File::Remove(Names::kHandOverDir));
    return removed;
}

}  // namespace Zorvane::AgentInstaller
