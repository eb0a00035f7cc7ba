// Taking the services of agents before 6.0 SP2 out of what starts the host's services.
#pragma once

#include "corekit/String.h"

namespace Zorvane::AgentInstaller {

/// The platform is what the host calls itself: "linux", "suse", "united", "hpux", "solaris" or "aix". Tools
/// that the host lacks are passed over, and what the tools answer does not matter.
void RemoveServiceRegistration56(const corekit::String& platform);
void RemoveServiceRegistration60(const corekit::String& platform);

}  // namespace Zorvane::AgentInstaller
