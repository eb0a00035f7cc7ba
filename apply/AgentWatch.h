// Watching whether an agent that has been started stays up.
#pragma once

#include <functional>
#include <optional>
#include <sys/types.h>

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller::Apply {

/// Looks for at most so many seconds until the same process of the agent has been there for two. Returns its
/// id; none when the time is over before. `pause` waits so many milliseconds, and returns false when there is
/// nothing to wait for any more.
std::optional<pid_t> WatchAgent(const corekit::String& installDir, unsigned seconds,
                                const std::function<bool(unsigned)>& pause);

}  // namespace Zorvane::AgentInstaller::Apply
