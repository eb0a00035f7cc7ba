// The entries of a directory that match a wildcard, in one list.
#pragma once

#include <vector>

#include "corekit/Dir.h"

namespace deploykit {

/// What could be read of them. A directory that does not exist has none, and fails with ENOENT.
corekit::Result ReadEntries(const corekit::String& directory, const corekit::String& pattern,
                            std::vector<corekit::FileInfo>& entries);

/// The same for a caller to whom what cannot be read is not there.
std::vector<corekit::FileInfo> DirectoryEntries(const corekit::String& directory,
                                                const corekit::String& pattern);

}  // namespace deploykit
