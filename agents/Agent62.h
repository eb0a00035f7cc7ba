// Agents of version 6.2: they rotate their logs, and the rotations go with them.
#pragma once

#include "agents/Agent60SP2.h"

namespace Zorvane::AgentInstaller {

class Agent62 : public Agent60SP2 {
  public:
    using Agent60SP2::Agent60SP2;

    bool RemoveRotatedDebugLogs(const corekit::IniFile& oldConf) override;
    bool RemoveRotatedClientLogs(const corekit::IniFile& oldConf,
                                 const corekit::String& newInstallDir) override;
};

}  // namespace Zorvane::AgentInstaller
