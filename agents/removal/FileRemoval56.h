// What an agent of version 5.6 leaves on disk, and how it goes.
#pragma once

#include "agents/removal/RemovalOutcome.h"
#include "corekit/ini/IniFile.h"

namespace Zorvane::AgentInstaller {

/// Removes the files of the 5.6 agent that `conf` describes. `newConf` is null on a clean; on an upgrade it
/// is the new client.conf: the paths that it names stay, except the old log; in place, that is when its
/// install directory is the old one, what the new package laid down there and what this run has written stays
/// as well. Nothing goes when `conf` could not be read. What cannot be removed is told and joined to `left`.
/// While anything is left, client.conf, which goes last, stays, so that the next run finds it.
void RemoveInstalledFiles56(const corekit::IniFile& conf, const corekit::IniFile* newConf,
                            RemovalOutcome left = {});

}  // namespace Zorvane::AgentInstaller
