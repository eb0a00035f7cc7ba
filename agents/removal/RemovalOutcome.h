// What a clean-up could not take away, although another try might.
#pragma once

#include "corekit/os/Result.h"

namespace Zorvane::AgentInstaller {

/// Tells whether anything is left. A failed removal is ignored, but not forgotten.
class RemovalOutcome {
  public:
    /// Takes the outcome of a removal. Only trouble counts: what is missing is gone, and what is refused
    /// would be refused the next time as well.
    void Add(const corekit::Result& removal) { m_any = m_any || corekit::IsTransient(removal); }
    void Add(const RemovalOutcome& others) { m_any = m_any || others.m_any; }

    bool Any() const { return m_any; }

  private:
    bool m_any = false;
};

/// What is left by `remove`, which is called again when it leaves something: what failed for a moment goes
/// with the second try.
template <typename Remove>
RemovalOutcome TryTwice(Remove&& remove) {
    RemovalOutcome atFirst;
    remove(atFirst);
    if (!atFirst.Any()) return atFirst;
    RemovalOutcome inTheEnd;
    remove(inTheEnd);
    return inTheEnd;
}

}  // namespace Zorvane::AgentInstaller
