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
/// it for the start levels, given as digits; without any it stays disabled. A running systemd is told. Fails
/// if the unit cannot be written or enabled; one that the administrator has masked stays so, which is
/// success.
corekit::Result Install(const corekit::String& name, const corekit::String& script,
                        const corekit::String& startLevels);

/// True if there is a unit of that name which is not masked, or a link that enables it.
bool Exists(const corekit::String& name);

/// True if there is a unit of that name which is not masked, and a link that enables it.
bool IsEnabled(const corekit::String& name);

/// Removes the unit and every link that enables it; a mask stays. Fails if something of it is left. Systemd
/// is not told: `Reload` is called when the service script is gone, too.
corekit::Result Remove(const corekit::String& name);

/// Tells a running systemd to read its units again.
void Reload();

/// The text of the unit that runs /etc/init.d/NAME: what the script's header says of its pid file, its name
/// for people and what must be there before it, and the targets that want it ("multi-user.target" if none
/// does, for an administrator who enables it by hand).
corekit::String UnitText(const corekit::String& name, const corekit::String& script,
                         const std::vector<corekit::String>& wantedBy);

}  // namespace deploykit::SystemdUnit
