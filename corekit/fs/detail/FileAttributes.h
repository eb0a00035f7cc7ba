// Modes, owners, times and extended attributes of directory entries themselves, never of what a link leads
// to.
#pragma once

#include <sys/stat.h>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Both change the entry itself, and refuse a symbolic link (ELOOP).
Result SetMode(const EntryRef& entry, unsigned mode);
Result SetOwner(const EntryRef& entry, unsigned user, unsigned group);

enum class IfRefused { Fail, GoOn };

/// Gives an open file the owner and the mode of another. Where the owner cannot be given, `IfRefused::GoOn`
/// leaves out the bits that would lend the new owner's rights.
Result TakeOwnerAndMode(int fd, const struct stat& model, IfRefused ifRefused);

/// Gives an open file the times of another.
Result TakeTimes(int fd, const struct stat& model);

/// Gives an open file or directory the extended attributes of `model`, which is of the same type: access
/// control lists, security labels, and what users attach. Attributes that the file has already are not set
/// again. Those that the file system or the kernel does not let this process set are left out.
Result TakeExtendedAttributes(int fd, const EntryRef& model);

}  // namespace corekit
