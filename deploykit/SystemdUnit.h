// Services as native units of systemd, which reads no init scripts from its version 260 on. Names are plain:
// no "/" and no wildcards.
#pragma once

#include <vector>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace deploykit::SystemdUnit {

/// True if this host has systemd. It need not be running, as in a chroot or while an image is built.
bool IsSupported();

/// Writes /etc/systemd/system/NAME.service, which runs the service script (`script` is its text), and enables
/// it for the start levels, given as digits; without any it stays disabled. A running systemd reads its units
/// again. Fails if the unit cannot be written or enabled; success if the administrator has masked it, and
/// then it stays masked.
corekit::Result Install(const corekit::String& name, const corekit::String& script,
                        const corekit::String& startLevels);

/// True if there is a unit of that name which is not masked, and a link that enables it. Fails when that
/// cannot be told.
corekit::Expected<bool> IsEnabled(const corekit::String& name);

/// Removes the unit and every link that enables it, and tells whether there was anything of it; a mask stays.
/// Fails if something of it is left. Does not call `Reload`: the caller does when the service script is gone,
/// too.
corekit::Expected<bool> Remove(const corekit::String& name);

/// Has a running systemd read its units again.
void Reload();

/// The text of the unit that runs /etc/init.d/NAME: the pid file, the description and the dependencies from
/// the script's header, and the targets that want it ("multi-user.target" if none does, for an administrator
/// who enables it by hand).
corekit::String UnitText(const corekit::String& name, const corekit::String& script,
                         const std::vector<corekit::String>& wantedBy);

}  // namespace deploykit::SystemdUnit
