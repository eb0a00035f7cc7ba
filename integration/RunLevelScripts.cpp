// The agent's service script: template, registration, control script.
#include <algorithm>
#include <iterator>

#include "config/SystemProbes.h"
#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/ini/IniFile.h"
#include "deploykit/RCScriptBackend.h"
#include "integration/SetupSequence.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::Result;
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

String TemplatePath(const SetupContext& context) {
    const auto* const row = std::ranges::find(kTemplates, DetectDistribution(), &Template::distribution);
    const wchar_t* const name = row != std::end(kTemplates) ? row->name : L"rcscript.proto.unix";
    return context.settings->Get(L"InstallDir") + L"/etc/" + name;
}

String ControlScript(const SetupContext& context) {
    return context.settings->Get(L"InstallDir") + Names::kControlScript;
}

constexpr const wchar_t* kFailed = L"Failed to set up the RC scripts.";

Failure FailFor(const String& path, const Result& cause) {
    return FailBecause(kFailed, path, cause);
}

/// The service, from its template, registered for the levels that client.conf names.
Outcome<> InstallService(const SetupContext& context) {
    const corekit::IniFile conf(context.confPath);
    // A file that cannot be read would name no levels, and nothing would start the agent.
    if (!conf.ReadResult()) return FailFor(context.confPath, conf.ReadResult());
    const RunLevels levels = SplitRunLevels(GetValue(conf, Key::kStartLevels));
    // An old registration that stays is replaced by the new one, or makes that fail.
    Forgive(RCScriptBackend::Uninstall(Names::kServiceName));
    const Result installed =
        RCScriptBackend::Install(Names::kServiceName, TemplatePath(context),
                                 context.settings->Get(L"InstallDir"), levels.startList, levels.stopList);
    if (!installed) return FailFor(installed.Path(), installed);
    return {};
}

Outcome<> PlaceControlScript(const String& controlScript, bool startsOnBoot) {
    const String service = RCScriptBackend::GetLocation(Names::kServiceName);
    const Result placed = startsOnBoot ? corekit::File::SymLink(service, controlScript)
                                       : corekit::File::Copy(service, controlScript);
    if (!placed) return FailFor(controlScript, placed);
    if (startsOnBoot) return {};
    if (const Result removed = RCScriptBackend::Uninstall(Names::kServiceName);
        !removed && !IsNotFound(removed))
        Messages::WarnKept(removed.Path(), GetErrorMsg(removed));
    return {};
}

}  // namespace

Outcome<> CheckRunLevelScripts(const SetupContext& context) {
    const String templatePath = TemplatePath(context);
    const auto text = corekit::File::Read(templatePath);
    if (!text) return FailFor(templatePath, text.error());
    if (text->IsEmpty()) return Fail(kFailed);
    for (const String& path : {RCScriptBackend::GetLocation(Names::kServiceName), ControlScript(context)}) {
        if (const Result replaceable = corekit::Access::CheckReplaceable(path); !replaceable)
            return FailFor(path, replaceable);
    }
    return {};
}

Outcome<> SetUpRunLevelScripts(const SetupContext& context) {
    const bool startsOnBoot = context.settings->IsYes(L"StartupOnBoot");
    if (startsOnBoot) Messages::Say(L"Setting up RC scripts to start Agent at system start.\n");
    if (const auto possible = CheckRunLevelScripts(context); !possible) return possible;
    // Without the directory the control script cannot be placed, which is the failure.
    Forgive(corekit::Dir::CreateR(context.settings->Get(L"InstallDir") + L"/bin"));
    if (const auto installed = InstallService(context); !installed) return installed;
    return PlaceControlScript(ControlScript(context), startsOnBoot);
}

}  // namespace Zorvane::AgentInstaller
