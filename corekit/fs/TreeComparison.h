// Comparison of directory entries with what may be copies of them.
#pragma once

#include "corekit/fs/ParentDirectory.h"

namespace corekit {

/// True if `copy` holds all of `original`: a file or link the same content, a directory every entry (and
/// maybe more). False as well when either cannot be read, or is nested too deeply for the descriptors that
/// the process may open.
bool ContainsCopyOf(const EntryRef& copy, const EntryRef& original);

}  // namespace corekit
