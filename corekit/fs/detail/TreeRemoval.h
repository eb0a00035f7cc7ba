// Removal of directory entries of every kind.
#pragma once

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Removes a directory with everything in it. Links are removed, never followed; what is mounted in the tree
/// stays as it is. Passes over what cannot be removed, and returns the worst failure. If the top itself is a
/// mount point, it is emptied and stays (EBUSY).
Result RemoveTree(const EntryRef& top);

/// unlinkat(2), but ENOENT for a name that is not there on a read-only file system, too, where the system
/// says EROFS.
Result Unlink(const EntryRef& entry, int flags = 0);

/// Removes a file or link, or a directory as a tree; a mount point stays as it is (EBUSY).
Result RemoveEntry(const EntryRef& entry);

}  // namespace corekit
