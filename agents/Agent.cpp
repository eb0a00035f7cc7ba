// What every installation of the agent does alike.
#include "agents/Agent.h"

#include "corekit/fs/File.h"

namespace Zorvane::AgentInstaller {

Outcome<> Agent::Clean() {
    const Outcome<> integration = RemoveSystemIntegration();
    return integration ? RemoveFiles(corekit::String()) : integration;
}

void Agent::SetConf(const corekit::String& path, const std::string& bytes) {
    m_confPath = path;
    m_confBytes = bytes;
}

corekit::Expected<std::string> Agent::ReadConf() const {
    if (!m_confBytes) return corekit::File::ReadBytes(m_confPath);
    return *m_confBytes;
}

corekit::IniFile Agent::OldConf() const {
    constexpr auto kKeyCase = corekit::IniFile::KeyCase::FallBack;
    return m_confBytes ? corekit::IniFile(m_confPath, *m_confBytes, kKeyCase)
                       : corekit::IniFile(m_confPath, kKeyCase);
}

}  // namespace Zorvane::AgentInstaller
