// The keys of client.conf that settings feed.
#pragma once

#include "config/ClientConfDraft.h"

namespace Zorvane::AgentInstaller {

/// Sets the keys that settings feed, the keys of fixed rules and then the extra settings. Always true.
bool ApplySettingsToClientConf(ClientConfDraft& draft, const Settings& settings);

}  // namespace Zorvane::AgentInstaller
