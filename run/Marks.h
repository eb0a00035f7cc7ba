// The mark of a run that has begun to change an installation and has not come to its end: the file
// etc/.unfinished below the install directory.
#pragma once

#include "corekit/text/String.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller {

/// What has not come to its end. While there is a mark, etc/client.conf is no agent's.
enum class Unfinished {
    Nothing,
    Saving,              // nothing of the installed agent has changed: its client.conf is being saved
    FirstConfiguration,  // there was no agent before
    Upgrade,             // the agent that was there before is what etc/client.conf.old says
};

/// What the mark below the install directory says. One that says nothing known is an upgrade's when there is
/// a client.conf.old, else a first configuration's.
Unfinished FindUnfinishedRun(const corekit::String& installDir);

/// Whether the mark can be put there.
Outcome<> CheckUnfinishedMark(const corekit::String& installDir);

/// Puts the mark there, or changes it.
Outcome<> MarkUnfinishedRun(const corekit::String& installDir, Unfinished what);

/// Takes the mark away: the run has come to its end.
Outcome<> MarkFinishedRun(const corekit::String& installDir);

/// Is a reinstall of the agent under way? Only a marker that can be trusted counts.
bool IsReinstallPending();

/// Warns of a marker that is there and does not count.
void WarnOfUnusedReinstallMarker();

}  // namespace Zorvane::AgentInstaller
