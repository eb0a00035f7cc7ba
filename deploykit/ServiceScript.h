// A service script: where it is, how its text comes from a template, and what its header says.
#pragma once

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

/// What the script says under a keyword such as "Short-Description" (in its LSB header) or "pidfile" (on any
/// comment line); "" if it does not have it.
corekit::String ServiceHeaderField(const corekit::String& script, const corekit::String& keyword);

}  // namespace deploykit
