// What every installation of the agent does alike.
#include "agents/Agent.h"

#include "config/ConfiguredDirectories.h"
#include "corekit/fs/Confinement.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "run/Failure.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace Path = corekit::Path;

Outcome<> Agent::Clean() {
    if (!m_isConfRoots) return CleanWithinBaseDir();
    const Outcome<> integration = RemoveSystemIntegration();
    return integration ? RemoveFiles(String()) : integration;
}

Outcome<> Agent::CleanWithinBaseDir() {
    const String baseDir = Path::GetDirectory(Path::GetDirectory(m_confPath));
    if (const corekit::Result confined = corekit::ConfineRemovals(baseDir); !confined)
        return FailBecause(Texts::kUnreadableConfiguration, m_confPath, confined);
    const String why = String(L"it lies outside of %1, whose client.conf is not root's").Arg(baseDir);
    for (const String& path : CleanedPaths(OldConf())) {
        if (!Path::IsWithin(path, baseDir)) Messages::WarnKept(path, why);
    }
    if (corekit::File::Exists(Names::kServiceScript)) Messages::WarnKept(Names::kServiceScript, why);
    return RemoveFiles(String());
}

void Agent::SetConf(const TrustedFile& file, const std::string& bytes) {
    m_confPath = file.Path();
    m_confBytes = bytes;
    m_isConfRoots = file.IsRoots();
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
