// Services as native units of systemd, which reads no init scripts from its version 260 on. Names are plain:
// no "/" and no wildcards.
#pragma once

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace deploykit::SystemdUnit {

/// Is systemd on this host? It need not be running, as in a chroot or while an image is built.
bool IsSupported();

/// Writes /etc/systemd/system/NAME.service, which runs the service script (`script` is its text), and enables
/// it for the start levels, given as digits; without any it stays disabled. A running systemd is told. False
/// when the unit could not be written and enabled; one that the administrator masked is left so, and that is
/// success.
bool Install(const corekit::String& name, const corekit::String& script, const corekit::String& startLevels);

/// Removes the unit and every link that enables it, and tells a running systemd if there were any; a mask
/// stays. Fails when something of it is left.
corekit::Result Remove(const corekit::String& name);

}  // namespace deploykit::SystemdUnit
