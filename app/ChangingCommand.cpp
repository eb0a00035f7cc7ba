// What the operator is told when a command does not run, or fails.
#include "app/ChangingCommand.h"

#include <unistd.h>

#include "config/SystemProbes.h"
#include "run/Failure.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

bool RefuseOrdinaryUser() {
    if (geteuid() == 0) return false;
    static_cast<void>(Report(Failure{L"qdn-configure has to be run as root.", {}}));
    return true;
}

bool RefuseRunningAgent(const corekit::String& refusal) {
    const bool running = IsPluginProcessRunning();
    if (running) Messages::Tell(refusal + L"\n");
    return running;
}

bool RefuseSecondRun(const RunLock& lock) {
    if (lock.IsTaken()) Messages::Tell(kAnotherRun);
    return lock.IsTaken();
}

unsigned Report(const Failure& failure) {
    Error::m_sErrorText = failure.text;
    Messages::Warn(L"ERROR: " + Messages::Ascii(failure.Told()) + L"\n");
    if (!failure.reason.IsEmpty()) Messages::Warn(L"  " + Messages::Ascii(failure.reason) + L"\n");
    return kFailure;
}

}  // namespace Zorvane::AgentInstaller
