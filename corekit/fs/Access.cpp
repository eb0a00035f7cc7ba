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
#include <unistd.h>

#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "corekit/os/SystemCall.h"

namespace corekit::Access {

namespace {

String DirectoryOf(const String& path) {
    const String directory = Path::GetDirectory(path);
    return directory.IsEmpty() ? String(L".") : directory;
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
Result CheckRoom(int directory) {
    struct statfs system {};
    if (fstatfs(directory, &system) != 0) return Result::FromErrno();
    const auto* const row =
        std::ranges::find(kKernelFileSystems, static_cast<long>(system.f_type), &KernelFileSystem::type);
    if (row != std::end(kKernelFileSystems)) return Result(row->error);
    const bool isFull =
        (system.f_blocks != 0 && system.f_bfree == 0) || (system.f_files != 0 && system.f_ffree == 0);
    return isFull ? Result(ENOSPC) : Result();
}

/// Whether this process may make and remove entries in an open directory.
Result CheckWritable(int directory) {
    return Outcome(faccessat(directory, ".", W_OK | X_OK, AT_EACCESS));
}

/// Whether a new entry can be made in an open directory.
Result CheckTakesEntries(int directory) {
    const Result writable = CheckWritable(directory);
    return writable ? CheckRoom(directory) : writable;
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

/// The outcome for a link in a directory's place; one that leads nowhere is in the way.
Result CheckDirectoryBehind(const String& link) {
    const Result writable = CheckWritableDirectory(link);
    return writable == Result(ENOENT) ? Result(EEXIST) : writable;
}

/// The outcome for a directory that lies in one which is missing, or is named by "." or ".." in such a one.
Result CheckCreatableFromAbove(const String& path) {
    const String above = DirectoryOf(path);
    return above == path ? Result(ENOENT) : CheckCreatableDirectory(above);
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
    const String name = Path::WithoutTrailingSlashes(path);
    const auto place = ParentDirectory::Of(name);
    if (place == Result(ENOENT)) return CheckCreatableFromAbove(name);
    if (place == Result(EISDIR)) {
        const Result writable = CheckWritableDirectory(name);
        return writable == Result(ENOENT) ? CheckCreatableFromAbove(name) : writable;
    }
    const auto info = place ? StatOf(place->Fd(), place->name) : place.error();
    if (info == Result(ENOENT)) return CheckTakesEntries(place->Fd());
    if (!info) return info.error();
    return S_ISLNK(info->st_mode) ? CheckDirectoryBehind(name) : CheckWritableDirectory(name);
}

Result CheckReplaceable(const String& path) {
    const String name = Path::WithoutTrailingSlashes(path);
    const auto place = ParentDirectory::Of(name);
    if (place == Result(ENOENT)) return CheckCreatableFromAbove(name);
    if (!place) return place.error();
    if (const Result taking = CheckTakesEntries(place->Fd()); !taking) return taking;
    const auto info = StatOf(place->Fd(), place->name);
    if (!info) return info == Result(ENOENT) ? Result() : info.error();
    if (S_ISDIR(info->st_mode)) return Result(EISDIR);
    const Result allowed = corekit::CheckReplaceable(place->At(), HostDirectory::Meant);
    if (!allowed) return allowed;
    return CheckNotPinned(*place);
}

Result CheckRemovable(const String& path) {
    const auto place = ParentDirectory::Of(Path::WithoutTrailingSlashes(path));
    const auto info = place ? StatOf(place->Fd(), place->name) : place.error();
    if (!info) return IsNotFound(info.error()) ? Result() : info.error();
    if (const Result writable = CheckWritable(place->Fd()); !writable) return writable;
    return CheckNotPinned(*place);
}

}  // namespace corekit::Access
