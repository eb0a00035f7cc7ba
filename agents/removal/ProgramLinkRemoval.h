// Taking the program links of an installed agent away.
#pragma once

#include "agents/removal/RemovalOutcome.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

// Both go on after a failure, and return what is left.

/// Removes the links of an agent of version 6.0: every link named qdn-* in the link directory that is the
/// agent's, unless that directory is the agent's own program directory. Other files and links of such a name
/// stay, with a warning (Messages::WarnNotReplaced) for all but the helper program. Does nothing when either
/// text is empty.
RemovalOutcome RemoveProgramLinks60(const corekit::String& installDir, const corekit::String& linkDir);

/// Removes the links of an agent from version 6.0 SP2 on: the wrappers of its programs, except that of this
/// program, and the links to the helper program. Does nothing without an install directory.
RemovalOutcome RemoveWrapperLinks(const corekit::String& installDir, const corekit::String& linkDir);

}  // namespace Zorvane::AgentInstaller
