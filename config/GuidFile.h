// The file that holds the machine's identifier.
#pragma once

#include "corekit/String.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Writes the setting Guid to the file, or removes the file when the setting is empty. A failure is not told.
void WriteGuidFile(const corekit::String& path, const Settings& settings);

/// Writes the GUID file that a client.conf names where that has not been possible before: its directory was
/// missing.
void WriteMissingGuidFile(const corekit::String& confPath, const Settings& settings);

}  // namespace Zorvane::AgentInstaller
