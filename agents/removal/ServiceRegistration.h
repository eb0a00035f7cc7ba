// Taking the services of agents before 6.0 SP2 out of what starts the host's services.
#pragma once

#include "agents/removal/RemovalOutcome.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// The platform is what the host calls itself: "linux", "suse", "united", "hpux", "solaris" or "aix". Tools
/// that the host lacks are passed over, and what the tools answer does not matter. Both return what could not
/// be removed.
RemovalOutcome RemoveServiceRegistration56(const corekit::String& platform);
RemovalOutcome RemoveServiceRegistration60(const corekit::String& platform);

/// Waits until the service, the entries in the host's files and the links to programs in `linkDir` (if any)
/// are gone from the disk, too. They may be on another one than client.conf, by which the next run finds
/// them: a power cut must not leave them without it.
void FlushRemovals(const corekit::String& linkDir);

}  // namespace Zorvane::AgentInstaller
