// Service scripts: installing them under /etc/init.d and registering them with whatever starts this host.
#pragma once

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace deploykit::ItemInstallers {

/// Levels are lists of digits separated by blanks, such as "2 3 5"; levels that are not supported are
/// ignored. The name of a service is a word of letters, digits, "_", "." and "-"; any other is refused.
namespace RCScriptBackend {

/// Levels "0" to "6".
bool IsRunLevelSupported(const corekit::String& level);

/// Creates the service script NAME from a template: %INSTDIR% and %ETCDIR% are expanded, and its LSB header
/// (Default-Start, Default-Stop) and "# chkconfig:" line get the levels. Registers it with the first found of
/// chkconfig, insserv and update-rc.d; levels for which that made no link get direct ones. On a host with
/// systemd it gets a native unit, too: the script's "# pidfile:" line then tells the unit's process, and
/// SERVICE_SCRIPT_CALLER=systemd in its environment tells the script who calls it. Fails if the script cannot
/// be made or, with a start level, nothing would start it.
corekit::Result Install(const corekit::String& name, const corekit::String& templatePath,
                        const corekit::String& installDir, const corekit::String& startLevels,
                        const corekit::String& stopLevels);

/// Undoes all of `Install`, whichever way the service was registered, and then has a running systemd read its
/// units again. A service that does not exist is success.
corekit::Result Uninstall(const corekit::String& name);

/// The path of the service script: /etc/init.d/NAME.
corekit::String GetLocation(const corekit::String& name);

}  // namespace RCScriptBackend
}  // namespace deploykit::ItemInstallers
