// The directories that the file-system standard gives the host: no clean-up may remove, empty or move them.
#pragma once

#include "corekit/String.h"

namespace corekit {

/// Is this "/" or a directory of the host itself (/usr, /etc, /var/lib, /etc/init.d ...), however the path is
/// spelled or whichever links lead there? A name that the standard gives counts even where the host has a
/// link for it.
bool IsHostDirectory(const String& path);

}  // namespace corekit
