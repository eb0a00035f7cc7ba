// The refusals that the three commands share.
#include "app/CommandStatus.h"

#include "config/SystemProbes.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

bool IsRefusedByRunningAgent(const corekit::String& refusal) {
    const bool running = IsPluginProcessRunning();
    if (running) Messages::Tell(refusal + L"\n");
    return running;
}

bool IsRefusedByAnotherRun(const RunLock& lock) {
    if (lock.IsTaken()) Messages::Tell(L"  Another run of qdn-configure is in progress.\n");
    return lock.IsTaken();
}

}  // namespace Zorvane::AgentInstaller
