// Copies of directory entries that are no directories.
#pragma once

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Copies the rest of one open file into another.
Result CopyContent(int from, int to);

/// Makes a copy of a file, link, FIFO or device, with mode, owner and times, under a name that is free
/// (EEXIST otherwise). Its content is flushed to disk, the directory is not. On failure nothing of the copy
/// is left.
Result CopyFileEntry(const EntryRef& from, const EntryRef& to);

}  // namespace corekit
