// The keys of client.conf that settings feed.
#pragma once

#include "corekit/ini/IniFile.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Sets the keys that settings feed, the keys of fixed rules and then the extra settings. Always true.
bool ApplySettingsToClientConf(corekit::IniFile& ini, const Settings& settings);

}  // namespace Zorvane::AgentInstaller
