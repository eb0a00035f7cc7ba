// Whether something can be done to a path, found out without changing anything.
#pragma once

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit::Access {

/// Success when the path is a directory in which the process can make entries; else why not (ENOTDIR, EROFS
/// ...). Does not look for free space.
Result CheckWritableDirectory(const String& path);

/// Success when Dir::CreateR can be expected to leave a directory there that can be written to.
/// Fails with ENOSPC where one has to be made on a file system that has no room at all, and as the system
/// would in /proc and its like.
Result CheckCreatableDirectory(const String& path);

/// Success when a file can be expected to be written, moved or linked to the path, replacing what is there:
/// its directory is writable or can be made, and nothing stands there but a file or a link that is neither
/// immutable, a mount point nor one of the host's names. Fails with ENOSPC where the file system has no room
/// at all.
Result CheckReplaceable(const String& path);

/// Success when nothing stands at the path, or it can be removed from its directory.
Result CheckRemovable(const String& path);

}  // namespace corekit::Access
