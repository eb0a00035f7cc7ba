// Whether something can be done to a path: what the system says of it and of the directory above.
#include "corekit/fs/Access.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <iterator>
#include <linux/magic.h>
#include <linux/stat.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "corekit/os/SystemCall.h"

namespace corekit::Access {

namespace {

/// A path without the slashes at its end: with them the system would follow a link.
String WithoutSlashes(String path) {
    while (path.Length() > 1 && path.EndsWith(L"/")) path = path.Left(path.Length() - 1);
    return path;
}

String DirectoryOf(const String& path) {
    const String directory = Path::GetDirectory(path);
    return directory.IsEmpty() ? String(L".") : directory;
}

/// What a path leads to, over links that may be followed.
Expected<struct stat> StatOfTarget(const String& path) {
    const auto place = ParentDirectory::OfTarget(path);
    return place ? StatOf(place->Fd(), place->name) : place.error();
}

/// File systems in which only the kernel makes entries, and the error that everybody else gets. Their
/// directories look as if root could write to them.
struct KernelFileSystem {
    long type;
    int error;
};
constexpr KernelFileSystem kKernelFileSystems[] = {
    {PROC_SUPER_MAGIC, ENOENT}, {SYSFS_MAGIC, EPERM},   {DEVPTS_SUPER_MAGIC, EPERM},
    {SECURITYFS_MAGIC, EPERM},  {DEBUGFS_MAGIC, EPERM},
};

/// Fails where no entry can be made in a directory although its mode allows that: in a file system of the
/// kernel's, and (ENOSPC) in one without any room. What is reserved for root counts as room, and some file
/// systems count no blocks or no files.
Result CheckRoom(const String& path) {
    const auto directory = OpenDirectory(path);
    if (!directory) return directory.error();
    struct statfs system {};
    if (fstatfs(directory->Get(), &system) != 0) return Result::FromErrno();
    const auto* const row =
        std::ranges::find(kKernelFileSystems, static_cast<long>(system.f_type), &KernelFileSystem::type);
    if (row != std::end(kKernelFileSystems)) return Result(row->error);
    struct statvfs room {};
    if (fstatvfs(directory->Get(), &room) != 0) return Result::FromErrno();
    const bool isFull = (room.f_blocks != 0 && room.f_bfree == 0) || (room.f_files != 0 && room.f_ffree == 0);
    return isFull ? Result(ENOSPC) : Result();
}

/// Fails for an entry that even root cannot replace or remove: a mount point (EBUSY), or an immutable or
/// append-only file (EPERM). Success where the system does not tell.
Result CheckNotPinned(const ParentDirectory& place) {
    struct statx info {};
    if (statx(place.Fd(), place.name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &info) != 0)
        return Result();
    if ((info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) return Result(EBUSY);
    const bool isFixed = (info.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0;
    return isFixed ? Result(EPERM) : Result();
}

/// Whether an entry can be made in a directory, which may have to be made first.
Result CheckNewEntry(const String& directory) {
    if (const Result creatable = CheckCreatableDirectory(directory); !creatable) return creatable;
    const auto found = StatOfTarget(directory);
    if (found) return CheckRoom(directory);
    return found == Result(ENOENT) ? Result() : found.error();
}

}  // namespace

Result CheckWritableDirectory(const String& path) {
    const auto place = ParentDirectory::OfTarget(path);
    const auto info = place ? StatOf(place->Fd(), place->name) : place.error();
    if (!info) return info.error();
    if (!S_ISDIR(info->st_mode)) return Result(ENOTDIR);
    return Outcome(faccessat(place->Fd(), place->name.c_str(), W_OK | X_OK, AT_EACCESS));
}

Result CheckCreatableDirectory(const String& path) {
    if (path.IsEmpty()) return Result(ENOENT);
    const String place = WithoutSlashes(path);
    const auto found = StatOfTarget(place);
    if (found) return CheckWritableDirectory(place);
    if (found != Result(ENOENT)) return found.error();
    // A link that leads nowhere is in the way of a directory.
    if (!File::CheckNotLink(place)) return Result(EEXIST);
    return CheckNewEntry(DirectoryOf(place));
}

Result CheckReplaceable(const String& path) {
    const String name = WithoutSlashes(path);
    if (const Result directory = CheckNewEntry(DirectoryOf(name)); !directory) return directory;
    const auto place = ParentDirectory::Of(name);
    const auto info = place ? StatOf(place->Fd(), place->name) : place.error();
    if (!info) return info == Result(ENOENT) ? Result() : info.error();
    if (S_ISDIR(info->st_mode)) return Result(EISDIR);
    const Result allowed = corekit::CheckReplaceable(place->At(), HostDirectory::Meant);
    if (!allowed) return allowed;
    return CheckNotPinned(*place);
}

Result CheckRemovable(const String& path) {
    const auto place = ParentDirectory::Of(WithoutSlashes(path));
    const auto info = place ? StatOf(place->Fd(), place->name) : place.error();
    if (!info) return IsNotFound(info.error()) ? Result() : info.error();
    if (faccessat(place->Fd(), ".", W_OK | X_OK, AT_EACCESS) != 0) return Result::FromErrno();
    return CheckNotPinned(*place);
}

}  // namespace corekit::Access
