// Taking the program links of an installed agent away.
#pragma once

#include "agents/removal/RemovalOutcome.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

// Failures are ignored; both tell what is left.

/// What an agent of version 6.0 links: removes every link named qdn-* of the agent's from the link directory,
/// unless that is the agent's own program directory. What else has such a name stays, and is told by
/// Messages::WarnNotReplaced, but for directories and the helper program. Does nothing when either text is
/// empty.
RemovalOutcome RemoveProgramLinks60(const corekit::String& installDir, const corekit::String& linkDir);

/// What agents from version 6.0 SP2 on link: removes the wrappers of the agent's programs, except that of the
/// program that is running, and the links to the helper program. Does nothing without an install directory.
RemovalOutcome RemoveWrapperLinks(const corekit::String& installDir, const corekit::String& linkDir);

}  // namespace Zorvane::AgentInstaller
