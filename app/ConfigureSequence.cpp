// The configure sequence: gather the settings, decide on an upgrade, replace the installed agent, set up the
// new one.
#include "agents/AgentDetection.h"
#include "app/ChangingCommand.h"
#include "app/ConfigureCommand.h"
#include "app/ConfigureSteps.h"
#include "config/ClientConfDraft.h"
#include "config/SystemProbes.h"
#include "corekit/os/Sys.h"
#include "integration/AgentProcess.h"
#include "integration/SetupSequence.h"
#include "run/Args.h"
#include "run/Marks.h"
#include "run/Messages.h"
#include "settings/EnvironmentOverrides.h"
#include "settings/InstalledValues.h"
#include "settings/Questionnaire.h"
#include "settings/ServerUrl.h"
#include "settings/XmlConfig.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

constexpr const wchar_t* kUnsupportedPlatform =
    L"\nWARNING! The current platform is not officially supported.\nYou may experience problems with running "
    L"Zorvane Agent for UNIX and Linux\non this machine.\n\n";
constexpr const wchar_t* kNoConfigurationNoIMode =
    L"No configuration file found. File:%1  Search Path: %2\n"
    L"No upgrade possible, and Interactive mode disabled.\n"
    L"To configure install interactively, run the qdn-configure exe (located in the Agent's bin directory).\n"
    L"Install not complete, Setting return status to 1 (configure failed).\n";
constexpr const wchar_t* kNoConfigurationQuiet =
    L"No configuration file found and -quiet specified.\n"
    L"Remove -quiet to run qdn-configure interactively or specify env var QDNCLIENT_CONFIG_FILE for non "
    L"default location upgrade.";

void WarnAboutPlatform() {
    if (!IsPlatformSupported()) Messages::Tell(kUnsupportedPlatform);
}

Outcome<> AskQuestions(ConfigureRun& run) {
    const auto takeUp = [&run](const String& installDir, Settings& unanswered) {
        return TakeUpUpgrade(run, installDir, unanswered);
    };
    if (!RunQuestionnaire(*run.settings, takeUp)) return Fail(L"Interactive configuration failed.");
    return {};
}

/// An agent without a configuration is one that the package manager knows.
Source SourceOfDir(const Agent& installed) {
    if (installed.ConfPath().IsEmpty()) return {Source::Kind::PackageManager};
    const corekit::IniFile conf(installed.ConfPath(), corekit::IniFile::KeyCase::FallBack);
    return SourceOf(conf, Key::kInstallDir);
}

/// Where services are not to be started, the package's scriptlets say so; no other source says otherwise.
void ForbidStart(Settings& settings) {
    if (corekit::Env::Get(L"QDN_INSTALL_START") == String(L"never"))
        settings.Set(L"Start", L"no", {Source::Kind::Environment, L"QDN_INSTALL_START"});
}

/// What the configuration lacks, and what was given for it and is not used; the run goes on.
void WarnAboutConfiguration(const Settings& settings) {
    if (!settings.IsSet(L"KSName")) Messages::Warn(L"WARNING! No Kell Server name is configured.\n");
    const bool startsOnBoot = settings.Get(L"StartupOnBoot") != L"no";
    if (startsOnBoot && SplitRunLevels(settings.Get(L"RunLevel")).startList.IsEmpty())
        Messages::Warn(
            L"WARNING! No run level is configured: the agent is not started when the host boots.\n");
    WarnOfUnusedValues(settings);
}

/// The record of the run names the server and the directory that the settings have.
void TellRecord(const Settings& settings) {
    if (settings.IsSet(L"KSName")) RunRecord::SetServer(CurrentServer(settings).Text());
    if (settings.IsSet(L"InstallDir")) RunRecord::SetInstallDir(settings.Get(L"InstallDir"));
}

/// The one place that looks before the first change: whatever would make a later step fail, and can be seen
/// now, stops the run here.
Outcome<> LookBeforeChange(const ConfigureRun& run) {
    if (const auto possible = CheckInstalledAgent(run); !possible) return possible;
    if (const auto possible = CheckSetupSequence(run.setup); !possible) return possible;
    return CheckUnfinishedMark(run.settings->Get(L"InstallDir"));
}

/// From the first change of the host to the last.
Outcome<> ChangeHost(ConfigureRun& run) {
    if (const auto done = SaveInstalledConfiguration(run); !done) return done;
    if (const auto done = RemoveInstalledIntegration(run); !done) return done;
    Messages::Say(run.migrationText);
    // The new ones come before the old ones go: whenever the run ends, an identifier and a configuration are
    // on the host.
    if (const auto done = PlaceClientConf(run.setup); !done) return done;
    if (const auto done = RemoveInstalledFiles(run); !done) return done;
    if (const auto done = RunSetupSequence(run.setup); !done) return done;
    return MarkFinishedRun(run.settings->Get(L"InstallDir"));
}

}  // namespace

unsigned ConfigureCommand::Configure() {
    ConfigureRun run;
    WarnAboutPlatform();
    Outcome<> outcome = GatherSettings(run);
    m_lastSettings = run.settings;
    run.installed = FindInstalledAgent({m_sDir, run.settings->Get(L"InstallDir")});
    if (outcome) outcome = DecideOnUpgrade(run);
    if (const auto created = CreateNewAgent(run, m_sDir); outcome) outcome = created;
    if (outcome && m_bInteractive) outcome = AskQuestions(run);
    ForbidStart(*run.settings);
    CompleteInstallDir(run);
    TellRecord(*run.settings);
    if (outcome) outcome = CheckInstallDir(*run.settings);
    if (outcome) {
        DeclareInstallDirs(run);
        outcome = BuildConfiguration(run);
        WarnAboutConfiguration(*run.settings);
    }
    if (outcome) outcome = LookBeforeChange(run);
    if (outcome) outcome = ChangeHost(run);
    if (!outcome) return Report(outcome.error());

    if (!RemoveXmlConfigFile()) return Report(Failure());
    StartAgent(*run.settings);
    Messages::Say(L"Configuration complete.\n\n");
    return kSuccess;
}

/// Defaults, then the environment, then the XML file: what comes later wins.
Outcome<> ConfigureCommand::GatherSettings(ConfigureRun& run) {
    run.reinstall = IsReinstallPending();
    WarnOfUnusedReinstallMarker();
    run.settings = DefaultSettings();
    if (!run.settings) {
        run.settings = std::make_unique<Settings>();
        return Fail(L"Cannot load agent settings.");
    }
    ApplyEnvironmentOverrides(*run.settings);
    if (m_bInteractive) return {};
    if (const auto xmlSettings = LoadXmlSettings()) {
        run.settings->Merge(*xmlSettings);
        run.xmlLoaded = true;
    }
    return {};
}

Outcome<> ConfigureCommand::DecideOnUpgrade(ConfigureRun& run) {
    if (run.settings->IsSet(L"Upgrade") && !run.settings->IsYes(L"Upgrade")) return {};
    if (run.Upgradable() != nullptr && !run.reinstall) return MergeInstalledSettings(run);
    return DecideWithoutUpgrade(run);
}

/// Without an agent to upgrade, a run that has no configuration asks for one, unless it may not.
Outcome<> ConfigureCommand::DecideWithoutUpgrade(ConfigureRun& run) {
    run.settings->Set(L"Upgrade", L"no", {Source::Kind::Program});
    if (run.installed)
        run.settings->Set(L"InstallDir", run.installed->InstallDir(), SourceOfDir(*run.installed));
    if (run.xmlLoaded || run.settings->IsSet(L"KSName") || m_bInteractive) return {};
    if (m_bNoIMode) {
        const String searchPath = Messages::Shown(BuildXmlSearchPath());
        return Fail(String(kNoConfigurationNoIMode).Arg(kXmlFileName, searchPath));
    }
    if (Args::bQuiet) return Fail(kNoConfigurationQuiet);
    m_bInteractive = true;
    return {};
}

}  // namespace Zorvane::AgentInstaller
