// The file that holds the machine's identifier.
#pragma once

#include "corekit/String.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Writes the setting Guid to the file; without one the file stays. A failure is not told.
void WriteGuidFile(const corekit::String& path, const Settings& settings);

/// Brings the GUID file that a client.conf names in line with the setting Guid: written, or removed when
/// there is none. Called once that client.conf is in place and its directories are there: until then a run
/// that fails must not cost the machine its identifier. A failure is not told.
void SettleGuidFile(const corekit::String& confPath, const Settings& settings);

}  // namespace Zorvane::AgentInstaller
