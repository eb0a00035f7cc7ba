// Telling whether a reinstall is under way.
#include "run/ReinstallMarker.h"

#include "corekit/fs/File.h"
#include "run/Names.h"
#include "run/TrustedFile.h"

namespace Zorvane::AgentInstaller {

bool IsReinstallPending() {
    return corekit::File::Probe(Names::kReinstallClientConf).Ok() &&
           TrustedFile(Names::kReinstallClientConf, ChosenBy::Program).MayBeUsed();
}

}  // namespace Zorvane::AgentInstaller
