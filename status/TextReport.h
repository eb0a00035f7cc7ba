// The state of the installed agent as people read it.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller::Status {

/// One line for each fact, then the differences, as many as fit on a screen, and a closing line with the
/// status.
corekit::String TextReport(const nlohmann::ordered_json& document);

}  // namespace Zorvane::AgentInstaller::Status
