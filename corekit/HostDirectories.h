// The directories that the file-system standard gives the host: no clean-up may remove, empty or move them.
#pragma once

#include "corekit/Place.h"
#include "corekit/String.h"

namespace corekit {

/// Is this "/" or a directory of the host itself (/usr, /etc, /var/lib, /etc/init.d ...), however the path is
/// spelled or whichever links and mounts lead there?
bool IsHostDirectory(const String& path);

/// The same for a directory that is open, and that nobody can change for another one meanwhile.
bool IsHostDirectory(const Descriptor& directory);

/// Is this one of their names, whatever stands there (on many hosts /lib is a link)?
bool IsHostName(const Entry& entry);

}  // namespace corekit
