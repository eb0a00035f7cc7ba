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
/// "Default-Start", "Default-Stop" and the "chkconfig" line (its priorities stay) of the header. A header is
/// the comment and blank lines before the first line of code.
corekit::String ExpandServiceTemplate(const corekit::String& text, const corekit::String& installDir,
                                      const ServiceLevels& levels);

/// What the header says under a keyword, as in "# pidfile: /run/a.pid"; "" when it does not.
corekit::String ServiceHeaderField(const corekit::String& script, const corekit::String& keyword);

}  // namespace deploykit
