// Links to the agent's programs: which programs get one, and the helper's link.
#include "integration/ProgramLinks.h"

#include <string_view>

#include "config/PathMacros.h"
#include "corekit/Dir.h"
#include "corekit/File.h"
#include "corekit/IniFile.h"
#include "corekit/Path.h"
#include "deploykit/WrapperLinkBackend.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::FileInfo;
using corekit::Forgive;
using corekit::String;
namespace WrapperLinkBackend = deploykit::ItemInstallers::WrapperLinkBackend;

namespace {

constexpr std::wstring_view kKnownPrograms =
    L"qdn-configure qdn-uninstall qdn-env qdn-clientconfigupdate qdn-clientevent qdn-clienttransport "
    L"qdn-messagelistener qdn-objectmanager qdn-policymanager qdn-swdclientagent qdn-taskscheduler "
    L"qdn-monitor";
constexpr std::size_t kSuffixLength = 4;  // ".bin"

/// The environment script bears the name of a known program: a wrapper there would replace it.
bool GetsLink(const String& program) {
    return program != L"qdn-env" && kKnownPrograms.find(program.View()) != String::npos;
}

void LinkPrograms(const String& programDir, const String& linkDir, const String& environmentScript) {
    Forgive(corekit::Dir::Scan(programDir, L"qdn-*.bin", [&](const FileInfo& file) {
        const String program = file.name.Left(file.name.Length() - kSuffixLength);
        if (!file.isDirectory && GetsLink(program)) {
            Forgive(WrapperLinkBackend::Install(program, linkDir, programDir, environmentScript));
        }
        return true;
    }));
}

}  // namespace

bool CreateProgramLinks(SetupContext& context) {
    String programDir = context.settings->Value(L"InstallDir");
    EnsureTrailingChar(programDir, L'/');
    programDir += L"bin";
    const String linkDir = corekit::IniFile(context.confPath).GetValue(Names::kConfiguration, L"bindir");
    LinkPrograms(programDir, linkDir, context.settings->Value(L"InstallDir") + Names::kEnvironmentScript);
    // However that directory is spelled: a link there would lead to itself.
    if (!linkDir.IsEmpty() && !corekit::Path::IsMatch(linkDir, Names::kHelperDir)) {
        Forgive(corekit::File::SymLink(Names::kHelperProgram,
                                       corekit::Path::Join(linkDir, Names::kHelperName),
                                       corekit::File::IfPresent::Keep));
    }
    return true;
}

}  // namespace Zorvane::AgentInstaller
