// Copies of directory entries of every kind.
#pragma once

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Makes a copy under a name that is free (EEXIST otherwise), a directory's with everything in it, with mode,
/// owner and times; links are copied as links. All of it is flushed to disk but the directory that holds the
/// copy. On failure nothing of the copy is left.
Result CopyEntry(const EntryRef& from, const EntryRef& to);

}  // namespace corekit
