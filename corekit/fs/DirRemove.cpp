// Removes directories that a caller names.
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/Dir.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

Result Dir::Remove(const String& path) {
    if (path.IsEmpty()) return Result();
    if (const Result result = RefuseHostDirectory(path); !result) return result;
    ParentDirectory place;
    if (const Result result = ParentDirectory::Of(path, place); !result) return result;
    // Asked once more of the place that is held open: a link on the way may have been changed meanwhile.
    if (const Result result = RefuseHostName(place.At()); !result) return result;
    struct stat info {};
    if (fstatat(place.Fd(), place.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) return Result::FromErrno();
    if (S_ISDIR(info.st_mode)) return RemoveTree(place.At());
    return S_ISLNK(info.st_mode) ? Outcome(unlinkat(place.Fd(), place.name.c_str(), 0)) : Result(ENOTDIR);
}

}  // namespace corekit
