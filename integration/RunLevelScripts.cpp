// The agent's service script: template, registration, control script.
#include "integration/RunLevelScripts.h"

#include <algorithm>
#include <iterator>

#include "config/SystemProbes.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/ini/IniFile.h"
#include "deploykit/RCScriptBackend.h"
#include "run/Error.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;
namespace RCScriptBackend = deploykit::ItemInstallers::RCScriptBackend;

namespace {

struct Template {
    const wchar_t* distribution;
    const wchar_t* name;
};
constexpr Template kTemplates[] = {
    {L"linux", L"rcscript.proto.linux"},
    {L"suse", L"rcscript.proto.suse"},
    {L"united", L"rcscript.proto.suse"},
};

String TemplateName(const String& distribution) {
    const auto* const row = std::ranges::find(kTemplates, distribution, &Template::distribution);
    return row != std::end(kTemplates) ? row->name : L"rcscript.proto.unix";
}

bool InstallService(const SetupContext& context, const String& installDir) {
    const corekit::IniFile conf(context.confPath);
    // One that cannot be read names no levels: nothing would start the agent.
    if (!conf.ReadResult()) return false;
    const String templatePath = installDir + L"/etc/" + TemplateName(DetectDistribution());
    const RunLevels levels = SplitRunLevels(GetValue(conf, Key::kStartLevels));
    Forgive(RCScriptBackend::Uninstall(Names::kServiceName));
    return RCScriptBackend::Install(Names::kServiceName, templatePath, installDir, levels.startList,
                                    levels.stopList);
}

bool PlaceControlScript(const String& controlScript, bool startsOnBoot) {
    const String service = RCScriptBackend::GetLocation(Names::kServiceName);
    if (startsOnBoot) return corekit::File::SymLink(service, controlScript).Ok();
    if (!corekit::File::Copy(service, controlScript)) return false;
    Forgive(RCScriptBackend::Uninstall(Names::kServiceName));
    return true;
}

}  // namespace

bool SetUpRunLevelScripts(const SetupContext& context) {
    const bool startsOnBoot = context.settings->IsYes(L"StartupOnBoot");
    if (startsOnBoot) Messages::Say(L"Setting up RC scripts to start Agent at system start.\n");
    const String installDir = context.settings->Get(L"InstallDir");
    Forgive(corekit::Dir::CreateR(installDir + L"/bin"));
    if (InstallService(context, installDir) &&
        PlaceControlScript(installDir + Names::kControlScript, startsOnBoot)) {
        return true;
    }
    return Error::Fail(L"Failed to set up the RC scripts.");
}

}  // namespace Zorvane::AgentInstaller
