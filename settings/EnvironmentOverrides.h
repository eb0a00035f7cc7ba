// The three settings that an installer may preset by environment variables.
#pragma once

#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Takes QDN_INSTALL_KSNAME, QDN_INSTALL_AUTOSTART and QDN_INSTALL_RUNLEVELS over into the settings. A
/// variable that is unset or empty is passed over; a bad value is warned of on standard error and leaves its
/// setting alone.
void ApplyEnvironmentOverrides(Settings& settings);

}  // namespace Zorvane::AgentInstaller
