// Copies of directory entries of every kind.
#pragma once

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Copies the rest of one open file into another.
Result CopyContent(int from, int to);

/// Copies an entry to a name that is free (EEXIST otherwise), with mode, owner, extended attributes and
/// times: a link as a link, a directory with everything in it. Flushes all of the copy to disk, but not the
/// directory that holds it. On failure nothing of the copy is left.
Result CopyEntry(const EntryRef& from, const EntryRef& to);

}  // namespace corekit
