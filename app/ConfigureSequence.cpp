// The configure sequence: gather the settings, decide on an upgrade, replace the installed agent, set up the
// new one.
#include "agents/AgentDetection.h"
#include "app/CommandStatus.h"
#include "app/ConfigureCommand.h"
#include "app/ConfigureRun.h"
#include "app/InstallDirectory.h"
#include "app/InstalledAgentSteps.h"
#include "app/PlatformSupport.h"
#include "integration/AgentStart.h"
#include "integration/SetupSequence.h"
#include "run/Args.h"
#include "run/Error.h"
#include "run/Messages.h"
#include "run/ReinstallMarker.h"
#include "settings/EnvironmentOverrides.h"
#include "settings/Questionnaire.h"
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

void AskQuestions(ConfigureRun& run) {
    run.ok = RunQuestionnaire(*run.settings) || Error::Fail(L"Interactive configuration failed.");
}

bool SetUpNewAgent(ConfigureRun& run) {
    SetupContext context;
    context.generatedConfPath = run.handOver.Path();
    return RunSetupSequence(context, *run.settings);
}

unsigned Report(const ConfigureRun& run) {
    if (run.ok) {
        Messages::Say(L"Configuration complete.\n\n");
        return kSuccess;
    }
    const String& error = Error::m_sErrorText;
    Messages::Warn(L"ERROR: " +
                   (error.IsEmpty() ? String(L"Agent configuration failed.") : Messages::Ascii(error)) +
                   L"\n");
    return kFailure;
}

}  // namespace

unsigned ConfigureCommand::Configure() {
    ConfigureRun run;
    WarnAboutPlatform();
    run.reinstall = IsReinstallPending();
    GatherSettings(run);
    run.installed = FindInstalledAgent();
    if (run.ok) DecideOnUpgrade(run);
    CreateNewAgent(run, m_sDir);
    if (run.ok && m_bInteractive) AskQuestions(run);
    CompleteInstallDir(run);
    run.ok = run.ok && CheckInstallDir(*run.settings);
    run.ok = run.ok && SaveInstalledConfiguration(run);
    run.ok = run.ok && RemoveInstalledIntegration(run);
    run.ok = run.ok && MigrateInstalledSettings(run);
    run.ok = run.ok && RemoveInstalledFiles(run);
    run.ok = run.ok && SetUpNewAgent(run);
    run.ok = run.ok && RemoveXmlConfigFile();
    if (run.ok) StartAgent(*run.settings);
    return Report(run);
}

/// Defaults, then the environment, then the XML file: what comes later wins.
void ConfigureCommand::GatherSettings(ConfigureRun& run) {
    run.settings = DefaultSettings();
    if (!run.settings) {  // GCOVR_EXCL_START: the built-in document always gives settings
        run.ok = Error::Fail(L"Cannot load agent settings.");
        run.settings = std::make_unique<Settings>();
        return;
    }  // GCOVR_EXCL_STOP
    ApplyEnvironmentOverrides(*run.settings);
    if (m_bInteractive) return;
    if (const auto xmlSettings = LoadXmlSettings()) {
        run.settings->Merge(*xmlSettings);
        run.xmlLoaded = true;
    }
}

void ConfigureCommand::DecideOnUpgrade(ConfigureRun& run) {
    if (run.settings->IsSet(L"Upgrade") && !run.settings->IsYes(L"Upgrade")) return;
    if (run.Upgradable() != nullptr && !run.reinstall) {
        MergeInstalledSettings(run);
    } else {
        DecideWithoutUpgrade(run);
    }
}

/// Without an agent to upgrade, a run that has no configuration asks for one, unless it may not.
void ConfigureCommand::DecideWithoutUpgrade(ConfigureRun& run) {
    run.settings->Value(L"Upgrade") = L"no";
    if (run.installed) run.settings->Value(L"InstallDir") = run.installed->InstallDir();
    if (run.xmlLoaded || run.settings->IsSet(L"KSName") || m_bInteractive) return;
    if (m_bNoIMode) {
        const String searchPath = Messages::Shown(BuildXmlSearchPath());
        run.ok = Error::Fail(String(kNoConfigurationNoIMode).Arg(kXmlFileName, searchPath));
    } else if (Args::bQuiet) {
        run.ok = Error::Fail(kNoConfigurationQuiet);
    } else {
        m_bInteractive = true;
    }
}

}  // namespace Zorvane::AgentInstaller
