// One run at a time.
#pragma once

#include "corekit/os/Descriptor.h"
#include "corekit/os/TemporaryFile.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Holds the host-wide lock of a run that changes things, as long as it lives. The kernel releases it however
/// the process ends; where no place for the lock exists the run goes on without one.
/// An attempt needs none: its caller holds it.
class RunLock {
  public:
    RunLock();

    /// True when a run holds the lock right now. Takes no lock itself, so no run that begins meanwhile is
    /// refused.
    static bool IsHeld();

    /// True when another run holds the lock.
    bool IsTaken() const { return m_isTaken; }

  private:
    bool TryIn(const corekit::String& directory);

    corekit::Descriptor m_file;
    corekit::TemporaryFile m_name;
    bool m_isTaken = false;
};

}  // namespace Zorvane::AgentInstaller
