// Agents of version 6.0 SP2 and 6.1, and the agent that this program configures: their links are wrappers and
// their service has a script of its own.
#pragma once

#include "agents/Agent60.h"

namespace Zorvane::AgentInstaller {

class Agent60SP2 : public Agent60 {
  public:
    using Agent60::Agent60;

    bool RemoveProgramLinks(const corekit::IniFile& oldConf) override;
    bool RemoveRunLevelScripts(const corekit::IniFile& oldConf) override;
};

/// The agent that this program configures.
class CurrentAgent : public Agent60SP2 {
  public:
    using Agent60SP2::Agent60SP2;
};

}  // namespace Zorvane::AgentInstaller
