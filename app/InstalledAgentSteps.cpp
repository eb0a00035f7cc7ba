// The agent found on the host: what is taken over from it, what is kept of it, what is removed.
#include "app/InstalledAgentSteps.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include "config/Migration.h"
#include "config/SystemProbes.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "run/Error.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "run/Texts.h"
#include "settings/PathMacros.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;
namespace File = corekit::File;
namespace Path = corekit::Path;

namespace {

void Merge(const Settings& old, ConfigureRun& run) {
    Settings& settings = *run.settings;
    const String url = settings.Get(L"KSUrlFormat");
    const String name = settings.Get(L"KSName");
    const String guid = settings.Get(L"Guid");
    settings.Merge(old);
    const String merged = settings.Get(L"KSName");
    if (!name.IsEmpty() && !merged.IsEmpty() && ServerNamesDiffer(name, merged)) {
        settings.Value(L"KSNameChanged") = L"true";
    }
    if (run.xmlLoaded && !url.IsEmpty()) settings.Value(L"KSUrlFormat") = url;
    if (run.xmlLoaded && !name.IsEmpty()) settings.Value(L"KSName") = name;
    if (!guid.IsEmpty() || settings.Get(L"KSNameChanged") == L"true") settings.Value(L"Guid") = guid;
}

/// Readable by root alone until the permissions of the installation are set.
bool WriteCopy(const String& copy, const std::string& bytes) {
    constexpr unsigned kPrivate = 0600;
    Forgive(corekit::Dir::CreateR(Path::GetDirectory(copy)));
    Forgive(File::Chmod(copy, kPrivate));
    return File::WriteBytes(copy, bytes, kPrivate).Ok();
}

bool FailToSave(const String& copy) {
    return Error::Fail(Texts::kUnwritableFile, copy);
}

/// Whatever becomes of the original from here on, nothing that it held is lost.
bool SaveConfOf(Agent& agent, const String& copy) {
    if (Path::IsMatch(agent.ConfPath(), copy)) return true;
    const auto bytes = agent.ReadConf();
    if (!bytes || !WriteCopy(copy, *bytes)) return FailToSave(copy);
    agent.SetConfPath(copy);
    return true;
}

/// Has a file not been read because there is none, but nothing or a directory, FIFO or device?
bool IsNoFile(const corekit::Result& read) {
    constexpr int kNoFile[] = {ENOENT, ENOTDIR, EISDIR, EINVAL};
    return std::ranges::count(kNoFile, read.Code()) > 0;
}

/// The file of an agent that nobody recognised would be replaced all the same.
bool SaveUnknownConf(const String& original, const String& copy) {
    if (Path::IsMatch(original, copy)) return true;
    const auto bytes = File::ReadBytes(original);
    return IsNoFile(bytes.Outcome()) || (bytes && WriteCopy(copy, *bytes)) || FailToSave(copy);
}

}  // namespace

void MergeInstalledSettings(ConfigureRun& run) {
    const auto old = run.installed->LoadSettings();
    // Going on would replace the administrator's values by defaults.
    if (!old) run.ok = Error::Fail(old.error().text);
    if (old && *old) Merge(**old, run);
}

bool SaveInstalledConfiguration(const ConfigureRun& run) {
    const String installDir = MakeAbsolutePath(run.settings->Get(L"InstallDir"));
    // Without a template the run will fail, and the root's /etc is the host's.
    if (installDir == L"/" && !File::Exists(installDir + Names::kClientProto)) return true;
    const String copy = installDir + Names::kSavedClientConf;
    const bool isKnown = run.installed && !run.installed->ConfPath().IsEmpty();
    return isKnown ? SaveConfOf(*run.installed, copy)
                   : SaveUnknownConf(installDir + Names::kClientConf, copy);
}

bool RemoveInstalledIntegration(const ConfigureRun& run) {
    Agent* agent = run.Upgradable();
    return agent == nullptr || agent->RemoveSystemIntegration().has_value() ||
           Error::Fail(L"Failed to clean old agent files.");
}

bool MigrateInstalledSettings(ConfigureRun& run) {
    const Agent* agent = run.Upgradable();
    InstalledConfiguration installed;
    if (agent) installed = {agent->VersionLabel(), agent->ConfPath(), agent->RegistersSubAgents()};
    if (!MigrateSettings(run.handOver, agent ? &installed : nullptr, *run.settings)) return false;
    if (!run.settings->IsSet(L"KSName")) Messages::Warn(L"WARNING! No Kell Server name is configured.\n");
    return true;
}

bool RemoveInstalledFiles(const ConfigureRun& run) {
    const Outcome<> removed =
        run.installed ? run.installed->RemoveFiles(run.handOver.Path()) : Outcome<>();
    if (!corekit::Dir::Remove(Names::kHandOverDir)) Forgive(File::Remove(Names::kHandOverDir));
    return removed || Error::Fail(removed.error().text);
}

}  // namespace Zorvane::AgentInstaller
