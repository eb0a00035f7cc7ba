// Marks on the host: one of a run that has begun to change an installation and has not finished
// (etc/.unfinished below the install directory), and one of the package scripts' reinstallation.
#pragma once

#include "corekit/text/String.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller {

/// What has not finished. While there is a mark, etc/client.conf belongs to no agent.
enum class Unfinished {
    Nothing,
    Saving,              // nothing of the installed agent has changed: its client.conf is being saved
    FirstConfiguration,  // there was no agent before
    Upgrade,             // the agent that was there before is what etc/client.conf.old says
};

/// Reads the mark below the install directory. A mark with an unknown word, or one that cannot be read,
/// stands for an upgrade if there is a client.conf.old. Without that file the one stands for a first
/// configuration, the other for saving, so that no client.conf is passed over which may be an agent's.
Unfinished FindUnfinishedRun(const corekit::String& installDir);

/// Fails where the mark could not be written. Changes nothing.
Outcome<> CheckUnfinishedMark(const corekit::String& installDir);

/// Writes the mark, or changes it.
Outcome<> MarkUnfinishedRun(const corekit::String& installDir, Unfinished what);

/// Removes the mark: the run has finished.
Outcome<> MarkFinishedRun(const corekit::String& installDir);

/// True if the package scripts are putting the same agent back on the host: they have left a marker, and it
/// can be trusted.
bool IsReinstallPending();

/// Warns of such a marker that cannot be trusted.
void WarnOfUnusedReinstallMarker();

}  // namespace Zorvane::AgentInstaller
