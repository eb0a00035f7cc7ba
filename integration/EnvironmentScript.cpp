// The environment script qdn-env: the template filled in for one install directory.
#include "integration/EnvironmentScript.h"

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "kEnvironmentScript.embedded.h"
#include "run/Error.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "run/Texts.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;

bool CreateScriptsStep(const SetupContext& context) {
    Messages::Say(L"Creating customized RC and environment scripts.\n");
    const String installDir = context.settings->Get(L"InstallDir");
    return WriteEnvironmentScript(installDir + Names::kEnvironmentScript, installDir);
}

bool WriteEnvironmentScript(const String& scriptPath, const String& installDir) {
    String text = String::FromUtf8(kEnvironmentScript);
    text.Replace(L"%INSTDIR%", installDir);
    Forgive(corekit::Dir::CreateR(corekit::Path::GetDirectory(scriptPath)));
    if (!corekit::File::Write(scriptPath, text)) return Error::Fail(Texts::kUnwritableFile, scriptPath);
    if (!corekit::File::Chmod(scriptPath, 0755)) {
        return Error::Fail(L"Unable to set permissions on file: ", scriptPath);
    }
    return true;
}

}  // namespace Zorvane::AgentInstaller
