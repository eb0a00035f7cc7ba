// The settings that an installed agent's client.conf provides.
#pragma once

#include <memory>

#include "corekit/ini/IniFile.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Which agents wrote the file: those of version 5.6 know fewer keys.
enum class Generation { Agent56, Agent60 };

/// The settings that the keys of a client.conf become. A setting whose key the file lacks is present, empty;
/// only Guid (without a GUID file), RunLevel (without its key) and EnableNICError (without a value for it)
/// are then absent. Fails when the file cannot be read, or when there may be a GUID file that cannot be read:
/// the run would take the host's identifier away.
Outcome<std::unique_ptr<Settings>> LoadInstalledSettings(const corekit::IniFile& conf, Generation generation);

}  // namespace Zorvane::AgentInstaller
