// The links in the run levels' directories by which init starts and stops a service: S??NAME and K??NAME in
// /etc/rcN.d or /etc/rc.d/rcN.d. Names are plain: no "/" and no wildcards.
#pragma once

#include "corekit/os/Result.h"
#include "deploykit/ServiceScript.h"

namespace deploykit::RunLevelLinks {

/// True if the service has a start link in each of the levels, given as digits.
bool AreStartedIn(const corekit::String& name, const corekit::String& levels);

/// Links S99NAME in the start levels and K01NAME in the stop levels to /etc/init.d/NAME, where no link of the
/// kind stands yet. Levels without a directory get none. Returns the gravest failure.
corekit::Result Make(const corekit::String& name, const ServiceLevels& levels);

/// Makes the directories of levels that have none.
void MakeDirectories(const ServiceLevels& levels);

/// True if the service has a start or stop link in any level.
bool Exist(const corekit::String& name);

/// Removes every start and stop link of the service; fails if one is left.
corekit::Result Remove(const corekit::String& name);

}  // namespace deploykit::RunLevelLinks
