// What a command tells after it has run in a copy of the host.
#pragma once

#include <string>

#include "app/ChangingCommand.h"

namespace Zorvane::AgentInstaller {

/// Runs the command, which is in a copy of the host, and returns the record that Preview::MakeDocument reads.
std::string RunInCopy(ChangingCommand& command, const std::vector<corekit::String>& arguments);

}  // namespace Zorvane::AgentInstaller
