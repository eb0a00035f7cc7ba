// The environment script qdn-env: the template filled in for one install directory.
#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "integration/SetupSequence.h"
#include "kEnvironmentScript.embedded.h"
#include "run/Failure.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;

namespace {

Failure FailToWrite(const String& path, const corekit::Result& cause) {
    return FailAt(Texts::kUnwritableFile, path, cause);
}

}  // namespace

Outcome<> CheckEnvironmentScript(const SetupContext& context) {
    const String path = context.settings->Get(L"InstallDir") + Names::kEnvironmentScript;
    if (const auto replaceable = corekit::Access::CheckReplaceable(path); !replaceable)
        return FailToWrite(path, replaceable);
    return {};
}

Outcome<> CreateScriptsStep(const SetupContext& context) {
    Messages::Say(L"Creating customized RC and environment scripts.\n");
    if (const auto possible = CheckEnvironmentScript(context); !possible) return possible;
    const String installDir = context.settings->Get(L"InstallDir");
    return WriteEnvironmentScript(installDir + Names::kEnvironmentScript, installDir);
}

Outcome<> WriteEnvironmentScript(const String& scriptPath, const String& installDir) {
    String text = String::FromUtf8(kEnvironmentScript);
    text.Replace(L"%INSTDIR%", installDir);
    // Without the directory the file cannot be written, which is the failure.
    Forgive(corekit::Dir::CreateR(corekit::Path::GetDirectory(scriptPath)));
    if (const auto written =
            corekit::File::Write(scriptPath, text, {.attributes = corekit::File::Attributes::New});
        !written)
        return FailToWrite(scriptPath, written);
    if (const auto set = corekit::File::Chmod(scriptPath, 0755); !set)
        return FailAt(L"Unable to set permissions on file: ", scriptPath, set);
    return {};
}

}  // namespace Zorvane::AgentInstaller
