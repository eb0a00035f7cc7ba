// Taking the services of agents before 6.0 SP2 out of what starts the host's services.
#pragma once

#include "agents/removal/RemovalOutcome.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// `platform` is one of "linux", "suse", "united", "hpux", "solaris" or "aix". Both pass over tools that the
/// host lacks, ignore the status of the others, and return what could not be removed.
RemovalOutcome RemoveServiceRegistration56(const corekit::String& platform);
RemovalOutcome RemoveServiceRegistration60(const corekit::String& platform);

/// Flushes to disk that the service, the entries in the host's files and the links in `linkDir` (if any) are
/// gone. They may lie on another disk than client.conf, by which the next run finds them: a power cut must
/// not bring them back without it.
void FlushRemovals(const corekit::String& linkDir);

}  // namespace Zorvane::AgentInstaller
