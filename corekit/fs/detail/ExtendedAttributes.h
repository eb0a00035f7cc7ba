// Extended attributes of files: access control lists, security labels, and what users attach.
#pragma once

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Gives an open file the extended attributes of the regular file `model`. Attributes that the file has
/// already are not set again. Those that the file system or the kernel does not let this process set are left
/// out.
Result TakeExtendedAttributes(int fd, const EntryRef& model);

}  // namespace corekit
