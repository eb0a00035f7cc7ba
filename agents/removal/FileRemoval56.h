// What an agent of version 5.6 leaves on disk, and how it goes.
#pragma once

#include "agents/removal/RemovalOutcome.h"
#include "corekit/ini/IniFile.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Removes the files of the 5.6 agent that `conf` describes. `newConfPath` is empty on a clean; on an
/// upgrade it is the new client.conf: what that names stays, the old log excepted, and in place, that is when
/// the new agent's install directory is the old one, so does what the new package laid down there and what
/// this run has written. Nothing goes when the file cannot be read. Failures are ignored; but with
/// trouble here, or `left` from before, client.conf, which goes last, stays, so that the next run finds what
/// is left.
void RemoveInstalledFiles56(const corekit::IniFile& conf, const corekit::String& newConfPath,
                            RemovalOutcome left = {});

}  // namespace Zorvane::AgentInstaller
