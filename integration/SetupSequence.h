// The set-up sequence: the new client.conf moves into place and the agent becomes part of the host.
#pragma once

#include "integration/Steps.h"

namespace Zorvane::AgentInstaller {

/// Looks, before anything changes, whether both can succeed with the generated client.conf: fails as
/// they would, as far as that can be known, and changes nothing.
Outcome<> CheckSetupSequence(const SetupContext& context);

/// Writes the file of the identifier, whose directory is made when missing, and then puts the generated
/// client.conf into its place, where it takes over the extended attributes of the file that it replaces. The
/// context's confPath is that place then.
Outcome<> PlaceClientConf(SetupContext& context);

/// Runs the set-up steps, up to the first that fails; what was done stays. The install directory is the
/// current directory afterwards.
Outcome<> RunSetupSequence(const SetupContext& context);

}  // namespace Zorvane::AgentInstaller
