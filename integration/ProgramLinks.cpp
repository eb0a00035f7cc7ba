// Links to the agent's programs: which programs get one, and the helper's link.
#include <cerrno>
#include <string_view>
#include <vector>

#include "config/SystemProbes.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/ini/IniFile.h"
#include "deploykit/WrapperLinkBackend.h"
#include "integration/SetupSequence.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

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

/// The step succeeds whatever could not be made; the operator is told.
void Warn(const corekit::Result& failure) {
    if (failure.Code() == EEXIST) {
        Messages::WarnNotReplaced(failure.Path());
    } else if (!failure) {
        Messages::WarnNotMade(failure);
    }
}

void LinkPrograms(const String& installDir, const String& linkDir) {
    const String programDir = ProgramDirectory(installDir);
    const String environment = installDir + Names::kEnvironmentScript;
    const auto isOurs = [&](const String& link) { return IsAgentLink(link, installDir); };
    std::vector<String> programs;
    const corekit::Result found = FindPrograms(programDir, programs);
    if (!found && !IsNotFound(found)) {
        const String links = corekit::Path::Join(linkDir, L"qdn-*");
        Warn(corekit::Result(found.Code()).About(links));
    }
    for (const String& program : programs) {
        if (!GetsLink(program)) continue;
        Warn(WrapperLinkBackend::Install(program, linkDir, programDir, environment, isOurs));
    }
}

/// None where the helper itself is, however that directory is spelled: the link would lead to itself.
void LinkHelper(const String& linkDir) {
    if (linkDir.IsEmpty() || corekit::Path::IsMatch(linkDir, Names::kHelperDir)) return;
    const String link = corekit::Path::Join(linkDir, Names::kHelperName);
    const corekit::Result made =
        corekit::File::SymLink(Names::kHelperProgram, link, corekit::File::IfPresent::Keep);
    const auto target = corekit::File::ReadLink(link);
    if (!target || *target != Names::kHelperProgram) Warn(made.About(link));
}

}  // namespace

Outcome<> CreateProgramLinks(const SetupContext& context) {
    const String linkDir = GetValue(corekit::IniFile(context.confPath), Key::kBinDir);
    LinkPrograms(context.settings->Get(L"InstallDir"), linkDir);
    LinkHelper(linkDir);
    return {};
}

}  // namespace Zorvane::AgentInstaller
