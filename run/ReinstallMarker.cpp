// Telling whether a reinstall is under way.
#include "run/ReinstallMarker.h"

#include "corekit/fs/File.h"
#include "run/Names.h"
#include "run/TrustedFile.h"

namespace Zorvane::AgentInstaller {

namespace {

bool IsThere() {
    return corekit::File::Probe(Names::kReinstallClientConf).Ok();
}

}  // namespace

bool IsReinstallPending() {
    return IsThere() && TrustedFile(Names::kReinstallClientConf, ChosenBy::Program).MayBeUsed();
}

void WarnOfUnusedReinstallMarker() {
    if (!IsThere()) return;
    const TrustedFile marker(Names::kReinstallClientConf, ChosenBy::Program);
    if (!marker.MayBeUsed()) marker.WarnNotUsed(marker.WhyNot());
}

}  // namespace Zorvane::AgentInstaller
