// Removing the files of an agent of version 5.6.
#pragma once

#include "agents/removal/RemovalOutcome.h"
#include "corekit/ini/IniFile.h"

namespace Zorvane::AgentInstaller {

/// Removes the files of the 5.6 agent that `conf` describes. `newConf` is null on a clean. On an upgrade it
/// is the new client.conf: the paths that it names stay, except the old log. If its install directory is the
/// old one, the files of the new package and of this run stay as well. Removes nothing when `conf` could not
/// be read. Warns of what cannot be removed, and joins it to `left`. While anything is left, client.conf,
/// which goes last, stays, so that the next run finds it.
void RemoveInstalledFiles56(const corekit::IniFile& conf, const corekit::IniFile* newConf,
                            RemovalOutcome left = {});

}  // namespace Zorvane::AgentInstaller
