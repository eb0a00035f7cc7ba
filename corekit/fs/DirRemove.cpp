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
    if (const Result result = RefuseHostDirectory(path); !result) return result.About(path);
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    // Asked once more of the place that is held open: a link on the way may have been changed meanwhile.
    if (const Result result = RefuseHostName(place->At()); !result) return result.About(path);
    const auto info = StatOf(place->Fd(), place->name);
    if (!info) return info.error().About(path);
    if (S_ISDIR(info->st_mode)) return RemoveTree(place->At()).About(path);
    if (!S_ISLNK(info->st_mode)) return Result(ENOTDIR).About(path);
    return Outcome(unlinkat(place->Fd(), place->name.c_str(), 0)).About(path);
}

}  // namespace corekit
