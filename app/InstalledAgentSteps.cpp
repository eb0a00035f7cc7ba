// The agent found on the host: what is taken over from it, what is kept of it, what is removed.
#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include "agents/AgentDetection.h"
#include "agents/carry/DataMove.h"
#include "app/ConfigureSteps.h"
#include "config/ClientConf.h"
#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/ini/IniFile.h"
#include "deploykit/RCScriptBackend.h"
#include "run/Failure.h"
#include "run/Keys.h"
#include "run/Marks.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "run/TrustedFile.h"
#include "settings/InstalledValues.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::Result;
using corekit::String;
namespace Access = corekit::Access;
namespace File = corekit::File;
namespace Path = corekit::Path;

namespace {

constexpr const wchar_t* kNotCleaned = L"Failed to clean old agent files.";

String CopyPath(const ConfigureRun& run) {
    return run.settings->Get(L"InstallDir") + Names::kSavedClientConf;
}

Failure FailToSave(const String& copy, const String& path, const Result& cause) {
    return FailBecause(Texts::kUnwritableFile + Messages::Shown(copy), path, cause);
}

/// True if the installed agent is one whose configuration is known.
bool HasKnownConf(const ConfigureRun& run) {
    return run.installed && !run.installed->ConfPath().IsEmpty();
}

/// True if the read failed because the path is not a regular file, or does not exist.
bool IsNoFile(const Result& read) {
    constexpr int kNoFile[] = {ENOENT, ENOTDIR, EISDIR, EINVAL};
    return std::ranges::count(kNoFile, read.Code()) > 0;
}

/// The configuration that is to be kept: the installed agent's, or one that nobody recognised, which would be
/// replaced all the same. None where there is nothing to keep, or the copy has it already.
Outcome<std::optional<std::string>> ConfToSave(const ConfigureRun& run) {
    const String copy = CopyPath(run);
    const String installDir = run.settings->Get(L"InstallDir");
    if (HasKnownConf(run)) {
        const String conf = run.installed->ConfPath();
        if (Path::IsMatch(conf, copy)) return std::nullopt;
        auto bytes = run.installed->ReadConf();
        if (!bytes) return FailToSave(copy, conf, bytes.error());
        return std::move(*bytes);
    }
    const Unfinished left = FindUnfinishedRun(installDir);
    if (left == Unfinished::FirstConfiguration || left == Unfinished::Upgrade) return std::nullopt;
    const String conf = installDir + Names::kClientConf;
    if (Path::IsMatch(conf, copy)) return std::nullopt;
    auto bytes = File::ReadBytes(conf);
    if (IsNoFile(bytes.Outcome())) return std::nullopt;
    if (!bytes) return FailToSave(copy, conf, bytes.error());
    return std::move(*bytes);
}

/// Readable by root alone until the permissions of the installation are set.
Outcome<> WriteCopy(const String& copy, const std::string& bytes) {
    constexpr unsigned kPrivate = 0600;
    Forgive(corekit::Dir::CreateR(Path::GetDirectory(copy)));  // else the copy cannot be replaced
    if (const Result replaceable = Access::CheckReplaceable(copy); !replaceable)
        return FailToSave(copy, copy, replaceable);
    if (const Result written =
            File::WriteBytes(copy, bytes, {.mode = kPrivate, .attributes = File::Attributes::New});
        !written)
        return FailToSave(copy, copy, written);
    return {};
}

/// Where an upgrade that did not finish was going: the directory that the agent's saved configuration lies
/// in, or the one that the run's sources name, where they name such a directory. Else empty.
String DirOfUnfinishedUpgrade(const Agent& installed, const String& named) {
    const Unfinished left = FindUnfinishedRun(named);
    if (left == Unfinished::Upgrade || left == Unfinished::Saving) return named;
    return installed.ConfPath().WithoutSuffix(Names::kSavedClientConf).value_or(String());
}

/// Merges the configuration of an agent into the settings.
Outcome<> Merge(Agent& installed, XmlFile xmlFile, Settings& settings) {
    const SourcedValue named = settings.Record(L"InstallDir").used;
    const auto old = installed.LoadSettings();
    // Going on would replace the administrator's values by defaults.
    if (!old) return old.error();
    if (!*old) return {};
    MergeInstalledValues(settings, **old, xmlFile);
    const String directory = DirOfUnfinishedUpgrade(installed, named.value);
    if (directory.IsEmpty()) return {};
    const bool isNamed = Path::IsMatch(directory, named.value);
    settings.Set(L"InstallDir",
                 isNamed ? named : SourcedValue{directory, {Source::Kind::Program}, directory});
    return {};
}

/// The files and directories that removing the old agent's registration has to change.
std::vector<String> PlacesOfIntegration(const Agent& agent) {
    const corekit::IniFile conf(agent.ConfPath(), agent.ReadConf().value_or(std::string()),
                                corekit::IniFile::KeyCase::FallBack);
    std::vector<String> places = {
        deploykit::ItemInstallers::RCScriptBackend::GetLocation(Names::kServiceName)};
    const String linkDir = GetValue(conf, Key::kBinDir);
    const String installDir = GetValue(conf, Key::kInstallDir);
    if (linkDir.StartsWith(L"/") && File::IsDirectory(linkDir)) {
        for (const corekit::FileInfo& link : corekit::Dir::Entries(linkDir, L"qdn-*"))
            places.push_back(link.path);
    }
    if (installDir.StartsWith(L"/") && !Path::IsMatch(installDir, L"/"))
        places.push_back(installDir + Names::kClientConf);
    return places;
}

}  // namespace

Outcome<> MergeInstalledSettings(ConfigureRun& run) {
    return Merge(*run.installed, run.xmlLoaded ? XmlFile::Loaded : XmlFile::None, *run.settings);
}

Outcome<bool> TakeUpUpgrade(ConfigureRun& run, const String& installDir, Settings& unanswered) {
    if (run.reinstall || run.Upgradable() != nullptr) return false;
    auto agent = AgentOfUnfinishedUpgrade(installDir);
    if (!agent || !agent->IsUpgradeSupported()) return false;
    if (const auto merged = Merge(*agent, XmlFile::None, unanswered); !merged) return merged.error();
    unanswered.Set(L"Upgrade", L"yes", {Source::Kind::Program});
    run.installed = std::move(agent);
    return true;
}

Outcome<> CheckInstalledAgent(const ConfigureRun& run) {
    const String copy = CopyPath(run);
    const auto conf = ConfToSave(run);
    if (!conf) return conf.error();
    if (*conf) {
        if (const Result replaceable = Access::CheckReplaceable(copy); !replaceable)
            return FailToSave(copy, copy, replaceable);
    }
    const Agent* agent = run.Upgradable();
    if (agent == nullptr) return {};
    for (const String& place : PlacesOfIntegration(*agent)) {
        if (const Result removable = Access::CheckRemovable(place); !removable)
            return FailBecause(kNotCleaned, place, removable);
    }
    return {};
}

Outcome<> SaveInstalledConfiguration(const ConfigureRun& run) {
    const String installDir = run.settings->Get(L"InstallDir");
    const auto conf = ConfToSave(run);
    if (!conf) return conf.error();
    const bool isKnown = HasKnownConf(run);
    const bool wasUpgrade = FindUnfinishedRun(installDir) == Unfinished::Upgrade;
    const Unfinished what = isKnown || wasUpgrade ? Unfinished::Upgrade : Unfinished::FirstConfiguration;
    // Until the copy is there, the installed agent's own file is what describes it.
    if (const auto marked = MarkUnfinishedRun(installDir, isKnown && *conf ? Unfinished::Saving : what);
        !marked)
        return marked;
    if (!*conf) return {};
    if (const auto saved = WriteCopy(CopyPath(run), **conf); !saved) return saved;
    if (!isKnown) return {};
    run.installed->SetConfPath(CopyPath(run));
    return MarkUnfinishedRun(installDir, what);
}

Outcome<> RemoveInstalledIntegration(const ConfigureRun& run) {
    Agent* agent = run.Upgradable();
    if (agent == nullptr) return {};
    if (const auto removed = agent->RemoveSystemIntegration(); !removed)
        return Failure{kNotCleaned, removed.error().reason};
    return {};
}

Outcome<> BuildConfiguration(ConfigureRun& run) {
    const Agent* agent = run.Upgradable();
    InstalledConfiguration installed;
    if (agent) installed = {agent->VersionLabel(), agent->ConfPath(), agent->RegistersSubAgents()};
    const auto text = MigrateSettings(run.handOver, agent ? &installed : nullptr, *run.settings);
    if (!text) return text.error();
    run.migrationText = *text;
    run.setup = {.generatedConfPath = run.handOver.Path(),
                 .confPath = run.handOver.Path(),
                 .settings = run.settings.get(),
                 .replacesAgent = run.installed != nullptr};
    return {};
}

Outcome<> RemoveInstalledFiles(const ConfigureRun& run) {
    MoveUnmovedData(corekit::IniFile(run.setup.confPath));
    const Outcome<> removed = run.installed ? run.installed->RemoveFiles(run.setup.confPath) : Outcome<>();
    Forgive(RemoveHandOverDirectory());  // what is left of it is warned of, or goes with the next run
    return removed;
}

}  // namespace Zorvane::AgentInstaller
