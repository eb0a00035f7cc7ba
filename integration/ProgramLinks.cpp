// Links to the agent's programs: which programs get one, and the helper's link.
#include "integration/ProgramLinks.h"

#include <string_view>
#include <vector>

#include "config/AgentPrograms.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/ini/IniFile.h"
#include "deploykit/WrapperLinkBackend.h"
#include "run/Keys.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;
namespace WrapperLinkBackend = deploykit::ItemInstallers::WrapperLinkBackend;

namespace {

constexpr std::wstring_view kKnownPrograms =
    L"qdn-configure qdn-uninstall qdn-env qdn-clientconfigupdate qdn-clientevent qdn-clienttransport "
    L"qdn-messagelistener qdn-objectmanager qdn-policymanager qdn-swdclientagent qdn-taskscheduler "
    L"qdn-monitor";

/// The environment script bears the name of a known program: a wrapper there would replace it.
bool GetsLink(const String& program) {
    return program != L"qdn-env" && kKnownPrograms.find(program.View()) != String::npos;
}

void LinkPrograms(const String& installDir, const String& linkDir) {
    const String programDir = ProgramDirectory(installDir);
    std::vector<String> programs;
    Forgive(FindPrograms(programDir, programs));
    for (const String& program : programs) {
        if (!GetsLink(program)) continue;
        const String environment = installDir + Names::kEnvironmentScript;
        Forgive(WrapperLinkBackend::Install(program, linkDir, programDir, environment));
    }
}

/// None where the helper itself is, however that directory is spelled: the link would lead to itself.
void LinkHelper(const String& linkDir) {
    if (linkDir.IsEmpty() || corekit::Path::IsMatch(linkDir, Names::kHelperDir)) return;
    const String link = corekit::Path::Join(linkDir, Names::kHelperName);
    Forgive(corekit::File::SymLink(Names::kHelperProgram, link, corekit::File::IfPresent::Keep));
}

}  // namespace

Outcome<> CreateProgramLinks(const SetupContext& context) {
    const String linkDir = GetValue(corekit::IniFile(context.confPath), Key::kBinDir);
    LinkPrograms(context.settings->Get(L"InstallDir"), linkDir);
    LinkHelper(linkDir);
    return {};
}

}  // namespace Zorvane::AgentInstaller
