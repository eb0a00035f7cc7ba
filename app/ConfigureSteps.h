// The steps of the configure sequence, and the state of a run that they hand on to each other.
#pragma once

#include <memory>

#include "agents/Agent.h"
#include "config/ClientConf.h"
#include "integration/SetupSequence.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

struct ConfigureRun {
    bool xmlLoaded = false;  // an XML configuration file was read and merged
    bool reinstall = false;  // the installed agent is to be installed anew, not upgraded

    std::shared_ptr<Settings> settings;
    std::unique_ptr<Agent> installed;  // the agent found on the host, or null
    std::unique_ptr<Agent> newAgent;   // the agent being configured, or null
    HandOverFile handOver;             // the new client.conf until it moves into place
    corekit::String migrationText;     // what is said of it when it is put to use
    SetupContext setup;                // what the set-up steps are to know, once client.conf is built

    /// The installed agent when it is of a version that can be upgraded, else null.
    Agent* Upgradable() const {
        return installed && installed->IsUpgradeSupported() ? installed.get() : nullptr;
    }
};

/// True on a Linux kernel with a supported release of VMware ESX Server, Red Hat or SuSE, on a supported
/// processor.
bool IsPlatformSupported();

// The agent that is being configured, and its install directory.

/// Creates the agent. `givenDir` (of the option -dir) or, if that is empty, the directory that the package
/// manager knows becomes the setting InstallDir.
Outcome<> CreateNewAgent(ConfigureRun& run, const corekit::String& givenDir);

/// Gives the settings an install directory when no source named any: the new agent's, or else the one above
/// the directory of the running program, where that holds the agent's package. Makes it absolute, without
/// slashes at its end.
void CompleteInstallDir(ConfigureRun& run);

/// Refuses an install directory that holds a character which a shell or a search path would misread, and one
/// that is the host's own.
Outcome<> CheckInstallDir(const Settings& settings);

/// Lets the run remove the install directories of the new and of the installed agent even where they lie
/// directly in a directory that many share, such as /usr/share.
void DeclareInstallDirs(const ConfigureRun& run);

// The agent found on the host.

/// Merges what the installed agent's configuration provides into the settings. The server and identifier of
/// an XML file win over the installed agent's; a server that changes is marked, and then an identifier of the
/// old one is dropped. An unfinished upgrade into another directory goes on there.
Outcome<> MergeInstalledSettings(ConfigureRun& run);

/// Takes up an unfinished upgrade in the install directory that the operator has just answered, where no
/// agent was found before the questions. Its agent is the installed one from then on, and its configuration
/// is merged into `unanswered`. Returns false, and changes nothing, where there is no such upgrade.
Outcome<bool> TakeUpUpgrade(ConfigureRun& run, const corekit::String& installDir, Settings& unanswered);

/// Fails if SaveInstalledConfiguration or RemoveInstalledIntegration would fail. Changes nothing.
Outcome<> CheckInstalledAgent(const ConfigureRun& run);

/// Marks the install directory as that of an unfinished run, and keeps the installed agent's client.conf as
/// etc/client.conf.old below it, from which the agent is read then. If no agent is recognised, keeps the
/// client.conf of the install directory, unless an unfinished run has left it.
Outcome<> SaveInstalledConfiguration(const ConfigureRun& run);

/// Removes an upgraded agent's services and links.
Outcome<> RemoveInstalledIntegration(const ConfigureRun& run);

/// Writes the new client.conf into the hand-over file. Nothing else on the host changes.
Outcome<> BuildConfiguration(ConfigureRun& run);

/// Removes or relocates the installed agent's files, and removes the hand-over files of package scripts.
Outcome<> RemoveInstalledFiles(const ConfigureRun& run);

}  // namespace Zorvane::AgentInstaller
