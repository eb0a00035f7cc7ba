// The agent that this program configures.
#pragma once

#include "agents/Agent60SP2.h"

namespace Zorvane::AgentInstaller {

class CurrentAgent : public Agent60SP2 {
  public:
    using Agent60SP2::Agent60SP2;
};

}  // namespace Zorvane::AgentInstaller
