// Reads from the upper layer of an overlay what was changed in the copy.
#pragma once

#include <vector>

#include "preview/Change.h"
#include "preview/HostCopy.h"

namespace Zorvane::AgentInstaller::Preview {

/// The differences between a file system of the host and its copy, sorted by path. To get from the one to the
/// other, first all removals are made, then all moves at once, then the rest in order. What has been touched
/// and is as before is no difference. A directory that moved or went as a whole is one change. Fails when the
/// system does not tell all of it.
corekit::Expected<std::vector<Change>> ReadChanges(const Layer& layer);

}  // namespace Zorvane::AgentInstaller::Preview
