// Links to the agent's programs in the directory where the operator calls them.
#pragma once

#include "integration/SetupContext.h"

namespace Zorvane::AgentInstaller {

/// The set-up step: a wrapper link in the configured binary directory for each of the agent's known programs
/// that is installed, and one to the helper. A link that cannot be made is passed over: the step never fails.
Outcome<> CreateProgramLinks(const SetupContext& context);

}  // namespace Zorvane::AgentInstaller
