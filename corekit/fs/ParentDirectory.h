// The one way to a file: paths are walked from the root by open directories, through no link that others
// could have put there.
#pragma once

#include <string>
#include <sys/stat.h>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

/// A name in an open directory, which the caller keeps open. Nothing need stand there.
struct EntryRef {
    int directory;
    std::string name;
};

/// The open directory that holds the last component of a path, and the name of that component.
///
/// A symbolic link on the way is followed only where the link and the directory that holds it belong to root
/// and nobody else can write there. At any other link the walk ends with `kBelongsToOthers` about the link or
/// its directory. Root means every user that `IsRoots` accepts.
struct ParentDirectory {
    Descriptor directory;
    std::string name;

    /// Opens the directory of a path; the last component itself is not looked at, and a "/" at its end does
    /// not count. Fails when the directory cannot be opened, and for paths that name no entry of one: empty
    /// (ENOENT), or the root or one that ends in "." or ".." (EISDIR).
    static Expected<ParentDirectory> Of(const String& path);

    /// The same, but follows links in the place of the last component too, also dangling ones. The name is
    /// "." for a directory that is no entry, such as the root.
    static Expected<ParentDirectory> OfTarget(const String& path);

    int Fd() const { return directory.Get(); }
    EntryRef At() const { return {Fd(), name}; }
};

/// What stands where a path leads to, over links that may be followed. Fails when nothing is there.
Expected<struct stat> StatOfTarget(const String& path);

/// What a path leads to, over links that may be followed, as a path from the root without links, "." and
/// "..". Fails when nothing is there.
Expected<std::string> CanonicalPath(const std::string& absolute);

/// Opens the directory that a path leads to for reading, over links that may be followed.
Expected<Descriptor> OpenDirectory(const String& path);
Expected<Descriptor> OpenDirectory(const std::string& path);

/// True for root, and for the user who runs this process and the owner of "/": in a user namespace the host's
/// root has another number.
bool IsRoots(uid_t user);

/// Success when no one but root can have put a second name of a file there: the file has no other name, or
/// nobody else can write in the directory. `kBelongsToOthers` otherwise.
Result CheckOnlyName(int directory, const struct stat& file);

/// True for one file or directory, whichever names led there.
inline bool IsSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

}  // namespace corekit
