// Comparison of directory entries with what may be copies of them.
#pragma once

#include "corekit/fs/ParentDirectory.h"

namespace corekit {

/// Is all of an entry there in another one: a file or link with the same content, a directory with everything
/// in it (and maybe more)? False as well when either cannot be read, or lies deeper than descriptors reach.
bool ContainsCopyOf(const EntryRef& copy, const EntryRef& original);

}  // namespace corekit
