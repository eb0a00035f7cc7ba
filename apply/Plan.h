// The file that a preview has kept for -apply.
#pragma once

#include "corekit/json/Json.h"
#include "corekit/text/String.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller::Apply {

/// Success when a rehearsal's document, as it is kept, says what the plan says: the same command, and the
/// same changes, bytes included. Else fails with a text that lists what has changed since, a path a line.
Outcome<> CheckPlan(const corekit::String& planFile, const corekit::Json& document);

}  // namespace Zorvane::AgentInstaller::Apply
