// The set-up sequence: its steps and their order.
#include "integration/SetupSequence.h"

#include <algorithm>
#include <iterator>

#include "config/ConfiguredDirectories.h"
#include "config/GuidFile.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/ini/IniFile.h"
#include "integration/EnvironmentScript.h"
#include "integration/Permissions.h"
#include "integration/ProgramLinks.h"
#include "integration/RunLevelScripts.h"
#include "run/Error.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::IniFile;
using corekit::String;

namespace {

bool PrepareDirectories(const SetupContext& context) {
    const IniFile conf(context.confPath);
    RemoveUnwantedGuidFile(conf, *context.settings);
    const bool prepared = PrepareConfiguredDirectories(conf);
    WriteGuidFile(conf, *context.settings);
    return prepared;
}

constexpr bool (*kSteps[])(const SetupContext&) = {
    PrepareDirectories, CreateScriptsStep, SetUpRunLevelScripts, CreateProgramLinks, SetInstallPermissions,
};

}  // namespace

bool RunSetupSequence(SetupContext& context, const Settings& settings) {
    context.settings = &settings;
    const String installDir = settings.Get(L"InstallDir");
    context.confPath = installDir + Names::kClientConf;
    const bool moved = corekit::File::Rename(context.generatedConfPath, context.confPath).Ok();
    Forgive(corekit::Dir::SetCurrent(installDir));
    if (!moved) return Error::Fail(L"Failed to create the new config file: ", context.confPath);
    return std::all_of(std::begin(kSteps), std::end(kSteps), [&](auto step) { return step(context); });
}

}  // namespace Zorvane::AgentInstaller
