// Directories read at once, so that their entries can be removed while the list is walked.
#include "deploykit/DirectoryEntries.h"

namespace deploykit {

corekit::Result ReadEntries(const corekit::String& directory, const corekit::String& pattern,
                            std::vector<corekit::FileInfo>& entries) {
    return corekit::Dir::Scan(directory, pattern, [&](const corekit::FileInfo& entry) {
        entries.push_back(entry);
        return true;
    });
}

std::vector<corekit::FileInfo> DirectoryEntries(const corekit::String& directory,
                                                const corekit::String& pattern) {
    std::vector<corekit::FileInfo> entries;
    Forgive(ReadEntries(directory, pattern, entries));
    return entries;
}

}  // namespace deploykit
