// How an agent from version 6.0 SP2 on leaves the operating system.
#include "agents/Agent60SP2.h"

#include "agents/removal/ProgramLinkRemoval.h"
#include "deploykit/RCScriptBackend.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

bool Agent60SP2::RemoveProgramLinks(const corekit::IniFile& oldConf) {
    m_left.Add(RemoveWrapperLinks(InstallDir(), GetValue(oldConf, Key::kBinDir)));
    return true;
}

bool Agent60SP2::RemoveRunLevelScripts(const corekit::IniFile&) {
    Messages::Say(L"  Removing RC init links and scripts\n");
    const corekit::Result result = deploykit::ItemInstallers::RCScriptBackend::Uninstall(Names::kServiceName);
    m_left.Add(Names::kServiceScript, result);
    return result.Ok();
}

}  // namespace Zorvane::AgentInstaller
