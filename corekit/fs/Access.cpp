// Whether something can be done to a path: what the system says of it and of the directory above.
#include "corekit/fs/Access.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/stat.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "corekit/os/SystemCall.h"

namespace corekit::Access {

namespace {

/// A path without the slashes at its end, which would have links followed.
String WithoutSlashes(String path) {
    while (path.Length() > 1 && path.EndsWith(L"/")) path = path.Left(path.Length() - 1);
    return path;
}

String DirectoryOf(const String& path) {
    const String directory = Path::GetDirectory(path);
    return directory.IsEmpty() ? String(L".") : directory;
}

/// ENOSPC for a directory on a file system without any room. What is reserved for root counts as room; some
/// file systems count no blocks or no files.
Result CheckRoom(const String& directory) {
    struct statvfs room {};
    if (statvfs(NativePath(directory).c_str(), &room) != 0) return Result::FromErrno();
    const bool isFull = (room.f_blocks != 0 && room.f_bfree == 0) || (room.f_files != 0 && room.f_ffree == 0);
    return isFull ? Result(ENOSPC) : Result();
}

/// What keeps root itself from replacing a name, as far as the system tells.
Result CheckNotPinned(const std::string& path) {
    struct statx info {};
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &info) != 0) return Result();
    if ((info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) return Result(EBUSY);
    const bool isFixed = (info.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0;
    return isFixed ? Result(EPERM) : Result();
}

/// Whether an entry can be made in a directory, which may have to be made first.
Result CheckNewEntry(const String& directory) {
    const Result creatable = CheckCreatableDirectory(directory);
    struct stat info {};
    const bool isThere = stat(NativePath(directory).c_str(), &info) == 0;
    return creatable && isThere ? CheckRoom(directory) : creatable;
}

}  // namespace

Result CheckWritableDirectory(const String& path) {
    const std::string native = NativePath(path);
    struct stat info {};
    if (stat(native.c_str(), &info) != 0) return Result::FromErrno();
    if (!S_ISDIR(info.st_mode)) return Result(ENOTDIR);
    return Outcome(faccessat(AT_FDCWD, native.c_str(), W_OK | X_OK, AT_EACCESS));
}

Result CheckCreatableDirectory(const String& path) {
    if (path.IsEmpty()) return Result(ENOENT);
    const String place = WithoutSlashes(path);
    struct stat info {};
    if (stat(NativePath(place).c_str(), &info) == 0) return CheckWritableDirectory(place);
    if (errno != ENOENT) return Result::FromErrno();
    // A link that leads nowhere is in the way of a directory.
    if (lstat(NativePath(place).c_str(), &info) == 0) return Result(EEXIST);
    return CheckNewEntry(DirectoryOf(place));
}

Result CheckReplaceable(const String& path) {
    const String place = WithoutSlashes(path);
    if (const Result directory = CheckNewEntry(DirectoryOf(place)); !directory) return directory;
    struct stat info {};
    if (lstat(NativePath(place).c_str(), &info) != 0) return errno == ENOENT ? Result() : Result::FromErrno();
    if (S_ISDIR(info.st_mode)) return Result(EISDIR);
    if (const Result allowed = corekit::CheckRemovable(place); !allowed) return allowed;
    return CheckNotPinned(NativePath(place));
}

Result CheckRemovable(const String& path) {
    const String place = WithoutSlashes(path);
    struct stat info {};
    if (lstat(NativePath(place).c_str(), &info) != 0)
        return IsNotFound(Result::FromErrno()) ? Result() : Result::FromErrno();
    const std::string directory = NativePath(DirectoryOf(place));
    if (faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) != 0) return Result::FromErrno();
    return CheckNotPinned(NativePath(place));
}

}  // namespace corekit::Access
