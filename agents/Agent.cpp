// What every installation of the agent does alike.
#include "agents/Agent.h"

namespace Zorvane::AgentInstaller {

bool Agent::Clean() {
    return RemoveSystemIntegration() && RemoveFiles(corekit::String());
}

corekit::IniFile Agent::OldConf() const {
    return corekit::IniFile(m_confPath, corekit::IniFile::KeyCase::FallBack);
}

}  // namespace Zorvane::AgentInstaller
