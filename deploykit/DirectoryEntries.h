// The entries of a directory that match a wildcard, in one list.
#pragma once

#include <vector>

#include "corekit/Dir.h"

namespace deploykit {

/// None when there is no such directory.
std::vector<corekit::FileInfo> DirectoryEntries(const corekit::String& directory,
                                                const corekit::String& pattern);

}  // namespace deploykit
