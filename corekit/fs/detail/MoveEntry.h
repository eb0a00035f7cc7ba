// Moving directory entries, to other file systems too.
#pragma once

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// What becomes of an entry that has the new name already: kept (EEXIST, unless it holds all of the old one,
/// as after a move that was killed), or replaced as rename(2) replaces.
enum class Existing { Stays, Replaced };

/// Moves an entry of any kind, a directory with everything in it. To another file system it is copied beside
/// the new name, flushed, renamed, and only then removed at the old one: a failure leaves it there whole. The
/// flush of the new directory after a mere rename is left to the caller.
Result MoveEntry(const EntryRef& from, const EntryRef& to, Existing existing);

}  // namespace corekit
