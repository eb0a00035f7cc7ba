// Directories read at once, so that their entries can be removed while the list is walked.
#include "deploykit/DirectoryEntries.h"

namespace deploykit {

std::vector<corekit::FileInfo> DirectoryEntries(const corekit::String& directory,
                                                const corekit::String& pattern) {
    std::vector<corekit::FileInfo> entries;
    Forgive(corekit::Dir::Scan(directory, pattern, [&](const corekit::FileInfo& entry) {
        entries.push_back(entry);
        return true;
    }));
    return entries;
}

}  // namespace deploykit
