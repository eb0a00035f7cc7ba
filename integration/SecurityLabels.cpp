// Security labels of the installation, set by the host's own tool.
#include <initializer_list>

#include "corekit/fs/File.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"
#include "deploykit/RCScriptBackend.h"
#include "integration/SetupSequence.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using corekit::Text::ShellWord;

namespace {

constexpr const wchar_t* kLabelsOfTheKernel = L"/sys/fs/selinux/enforce";
constexpr const wchar_t* kTool = L"restorecon";

/// The paths as arguments, without those at which nothing stands: without StartupOnBoot there is no service.
String Existing(std::initializer_list<String> paths) {
    String words;
    for (const String& path : paths) {
        if (!path.IsEmpty() && corekit::File::Exists(path)) words += L" " + ShellWord(path);
    }
    return words;
}

}  // namespace

Outcome<> SetSecurityLabels(const SetupContext& context) {
    const String tool = corekit::Program::Locate(kTool);
    if (tool.IsEmpty() || !corekit::File::Exists(kLabelsOfTheKernel)) return {};
    const String service = deploykit::ItemInstallers::RCScriptBackend::GetLocation(Names::kServiceName);
    const String places =
        Existing({service, context.isFirst ? context.settings->Get(L"InstallDir") : String()});
    if (places.IsEmpty()) return {};
    corekit::StringToMapFilter refusal;
    const corekit::Result run = corekit::PosixLocaleProgram::Run(
        ShellWord(tool) + L" -R" + places + L" >&2 || echo refused", refusal);
    if (!run || refusal.Count() > 0)
        Messages::Warn(L"WARNING! The security labels of new files are not set.\n");
    return {};
}

}  // namespace Zorvane::AgentInstaller
