// A service script: where it is, how its text comes from a template, what its header says, and the links by
// which init starts and stops it.
#pragma once

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace deploykit {

/// /etc/init.d/NAME.
corekit::String ServiceScriptPath(const corekit::String& name);

/// The run levels in which a service is started and stopped, each list as digits alone ("235").
struct ServiceLevels {
    corekit::String start;
    corekit::String stop;
};

/// The script that a template becomes: %ETCDIR% and %INSTDIR% are replaced, and the levels written into
/// "Default-Start", "Default-Stop" and the "# chkconfig:" line, whose priorities stay. The first two count
/// within the LSB header, from "### BEGIN INIT INFO" to "### END INIT INFO" wherever it stands, or in a
/// script that has none among the comments before its first line of code; the third counts on every comment
/// line.
corekit::String ExpandServiceTemplate(const corekit::String& text, const corekit::String& installDir,
                                      const ServiceLevels& levels);

/// The text of the script under a keyword such as "Short-Description" (in its LSB header) or "pidfile" (on
/// any comment line); "" if it does not have it.
corekit::String ServiceHeaderField(const corekit::String& script, const corekit::String& keyword);

}  // namespace deploykit

/// The links in the run levels' directories: S??NAME and K??NAME in /etc/rcN.d or /etc/rc.d/rcN.d. Names are
/// plain: no "/" and no wildcards.
namespace deploykit::RunLevelLinks {

/// True if the service has a start link in the level, given as digit. Fails when its directory cannot be
/// read.
corekit::Expected<bool> IsStartedIn(const corekit::String& name, wchar_t level);

/// True if the service has a start link in each of the levels, given as digits.
bool AreStartedIn(const corekit::String& name, const corekit::String& levels);

/// Links S99NAME in the start levels and K01NAME in the stop levels to /etc/init.d/NAME, where no link of the
/// kind stands yet. Levels without a directory get none. Returns the worst failure.
corekit::Result Make(const corekit::String& name, const ServiceLevels& levels);

/// Makes the directories of levels that have none.
void MakeDirectories(const ServiceLevels& levels);

/// Removes every start and stop link of the service, and tells whether there was one. Fails if one is left.
corekit::Expected<bool> Remove(const corekit::String& name);

}  // namespace deploykit::RunLevelLinks
