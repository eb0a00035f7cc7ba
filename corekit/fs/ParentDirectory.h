// Where a path points: the open directory that holds the last component, and its name.
#pragma once

#include <string>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

/// A name, present or not, in a directory that somebody else keeps open.
struct EntryRef {
    int directory;
    std::string name;
};

/// A name in a directory of its own. Links on the way to the directory are followed; what the name stands for
/// is not looked at.
struct ParentDirectory {
    Descriptor directory;
    std::string name;

    /// The place of a path; a "/" at its end does not count. Fails when the directory cannot be opened, and
    /// for paths that name no entry of one: empty (ENOENT), or the root or one that ends in "." or ".."
    /// (EISDIR).
    static Expected<ParentDirectory> Of(const String& path);

    int Fd() const { return directory.Get(); }
    EntryRef At() const { return {Fd(), name}; }
};

}  // namespace corekit
