// Finding what is not as it was configured: what a configuration from the same client.conf would change.
#pragma once

#include <functional>
#include <string>

#include "corekit/json/Json.h"
#include "corekit/text/String.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller::Status {

/// Hides from this process, which is in a copy of the host, the sources that would change the configuration:
/// variables, XML and hand-over files. Names the client.conf that is to be configured again.
void HideOtherSources(const corekit::String& clientConf);

/// The record of a rehearsed run, with what the run has left to somebody else and what it could not make.
std::string WithWhatWasLeft(const std::string& record);

/// Rehearses `run`, which returns its record, as a configuration of the agent of `installDir`. Returns an
/// object with `differences`, changes as a preview's document has them, and `error`, why the configuration
/// would fail, or null. Fails where no rehearsal is possible.
Outcome<corekit::Json> FindDifferences(const std::function<std::string()>& run,
                                       const corekit::String& installDir);

}  // namespace Zorvane::AgentInstaller::Status
