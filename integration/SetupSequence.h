// The set-up sequence, which makes the agent part of the host, and its steps.
#pragma once

#include <vector>

#include "corekit/fs/Dir.h"
#include "corekit/text/String.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// What the steps share. They read it, and change only the host.
struct SetupContext {
    corekit::String generatedConfPath;   // the new client.conf in its hand-over file
    corekit::String confPath;            // where the steps read it: there, or in its place once it has moved
    const Settings* settings = nullptr;  // the run's settings, not owned
    bool replacesAgent = false;          // the files of an installed agent go before the steps
    bool isFirst = false;                // nothing was configured in the install directory before
};

/// Fails if PlaceClientConf or RunSetupSequence would fail with the generated client.conf, as far as that can
/// be known before. Changes nothing.
Outcome<> CheckSetupSequence(const SetupContext& context);

/// Puts the generated client.conf into its place, where it takes over the extended attributes of the file
/// that it replaces; the context's confPath is that place then. Where an installed agent is replaced, the
/// file of the identifier is written first, and its directory is made when missing.
Outcome<> PlaceClientConf(SetupContext& context);

/// Runs the set-up steps, up to the first that fails; what was done stays. The install directory is the
/// current directory afterwards.
Outcome<> RunSetupSequence(const SetupContext& context);

// The steps in their order, each behind the check that goes before all of them, and what they share.

/// Fails where qdn-env cannot be written. Changes nothing.
Outcome<> CheckEnvironmentScript(const SetupContext& context);

/// Writes <InstallDir>/bin/qdn-env.
Outcome<> CreateScriptsStep(const SetupContext& context);

/// Writes qdn-env for an install directory, in full, with mode 0755; its directory is made when missing.
Outcome<> WriteEnvironmentScript(const corekit::String& scriptPath, const corekit::String& installDir);

/// Fails where the template of the service script cannot be read, or a script cannot be put into its place.
/// Changes nothing.
Outcome<> CheckRunLevelScripts(const SetupContext& context);

/// Installs the service script for the host's distribution family, and the agent's own control script
/// <InstallDir>/bin/rcscript, a link to it; without StartupOnBoot the control script is a copy and the
/// service is not registered.
Outcome<> SetUpRunLevelScripts(const SetupContext& context);

/// Makes a wrapper link in the configured binary directory for each of the agent's known programs that is
/// installed, and one to the helper. Warns of a link that cannot be made; never fails.
Outcome<> CreateProgramLinks(const SetupContext& context);

/// Sets owner root and the modes of the files in bin, etc and lib and of the directories themselves;
/// subdirectories are left alone. Warns of what cannot be changed; never fails.
Outcome<> SetInstallPermissions(const SetupContext& context);

/// Gives what the run has made the security labels of its places, by the host's own tool, where the kernel
/// knows such labels: the service script, and the whole install directory after a first configuration. What
/// an administrator has labelled otherwise keeps its label on an upgrade. Warns when the tool fails; never
/// fails itself.
Outcome<> SetSecurityLabels(const SetupContext& context);

/// Adds an entry that is not a directory to the list. Always returns true, so that a scan goes on.
bool SkipDirs(const corekit::FileInfo& info, std::vector<corekit::FileInfo>& list);

}  // namespace Zorvane::AgentInstaller
