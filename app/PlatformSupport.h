// Is this host one of the platforms that the agent is released for?
#pragma once

namespace Zorvane::AgentInstaller {

/// A Linux kernel with a supported release of VMware ESX Server, Red Hat or SuSE, on a supported processor.
bool IsPlatformSupported();

}  // namespace Zorvane::AgentInstaller
