// Removes files by name and by wildcard, and directories as trees.
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/Confinement.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "corekit/fs/detail/DirectoryBatch.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/Regex.h"

namespace corekit {

namespace {

/// The directory that holds the entry, which every removal opens here. Fails as `CheckConfined` does.
Expected<ParentDirectory> FindPlace(const String& path) {
    auto place = ParentDirectory::Of(path);
    if (!place) return place;
    const Result confined = CheckConfined(place->At());
    if (!confined) return confined;
    return place;
}

/// A link or a device in one of its directories is the host's, whatever its name is: /bin/sh, /dev/null,
/// /etc/resolv.conf.
Result CheckEntry(const ParentDirectory& place) {
    if (const Result allowed = CheckReplaceable(place.At()); !allowed) return allowed;
    const auto info = StatOf(place.Fd(), place.name);
    if (!info) return info.error();
    const bool isSuspect = S_ISLNK(info->st_mode) || S_ISCHR(info->st_mode) || S_ISBLK(info->st_mode);
    return isSuspect ? corekit::CheckRemovable(place.directory) : Result();
}

/// Judges a link in the place of a directory: one that leads to a file in a directory of the host was not
/// made for the agent, and fails with EPERM.
Result CheckTarget(const ParentDirectory& link) {
    const std::string path = ProcPath(link.Fd()) + "/" + link.name;
    const String target = Path::Resolve(String::FromUtf8(path));
    const auto info = StatOf(AT_FDCWD, NativePath(target));
    if (!info) return info.error();
    return S_ISDIR(info->st_mode) ? Result() : corekit::CheckRemovable(Path::GetDirectory(target));
}

}  // namespace

namespace File {

namespace {

/// Removes the entries of a directory that match a wildcard, but not the host's own; returns the worst
/// failure.
Result RemoveMatches(const ParentDirectory& pattern, HostDirectory hostDirectory) {
    const HostNames hostNames(pattern.Fd(), hostDirectory);
    Result failure;
    const Result result = RemoveEntriesOf(pattern.Fd(), [&](const DirEntry& entry) {
        if (!MatchesWildcard(pattern.name, entry.name)) return false;
        const Result allowed = hostNames.Check(entry.name);
        const Result removed = allowed ? RemoveEntry({pattern.Fd(), entry.name}) : allowed;
        failure = Worse(failure, removed);
        return removed.Ok();
    });
    return Worse(failure, result);
}

Expected<ParentDirectory> FindRemovable(const String& path, HostDirectory hostDirectory) {
    auto place = FindPlace(path);
    if (!place) return place;
    const Result allowed = hostDirectory == HostDirectory::Refused
                               ? CheckEntry(*place)
                               : CheckReplaceable(place->At(), HostDirectory::Meant);
    if (!allowed) return allowed;
    return place;
}

}  // namespace

Result Remove(const String& path, HostDirectory hostDirectory) {
    const auto place = FindRemovable(path, hostDirectory);
    if (!place) return place.error().About(path);
    return Unlink(place->At()).About(path);
}

Result CheckRemovable(const String& path) {
    return FindRemovable(path, HostDirectory::Refused).Outcome().About(path);
}

Result RemoveAny(const String& path, HostDirectory hostDirectory) {
    const auto place = FindRemovable(path, hostDirectory);
    if (!place) return place.error().About(path);
    return RemoveEntry(place->At()).About(path);
}

Result RemoveEx(const String& pattern, HostDirectory hostDirectory) {
    if (pattern.IsEmpty()) return Result();
    if (pattern.EndsWith(L"/")) return Result(EINVAL).About(pattern);
    const auto place = FindPlace(pattern);
    if (!place) return place.error().About(pattern);
    if (!HasWildcard(place->name)) return RemoveAny(pattern, hostDirectory);
    if (hostDirectory == HostDirectory::Refused) {
        if (const Result allowed = corekit::CheckRemovable(place->directory); !allowed)
            return allowed.About(pattern);
    }
    return RemoveMatches(*place, hostDirectory).About(pattern);
}

}  // namespace File

Result Dir::Remove(const String& path) {
    if (path.IsEmpty()) return Result();
    if (const Result allowed = CheckRemovable(path); !allowed) return allowed.About(path);
    const auto place = FindPlace(path);
    if (!place) return place.error().About(path);
    // This checks the name in the directory that is open now: a link on the way may have been exchanged.
    if (const Result allowed = CheckEntry(*place); !allowed) return allowed.About(path);
    const auto info = StatOf(place->Fd(), place->name);
    if (!info) return info.error().About(path);
    if (S_ISDIR(info->st_mode)) return RemoveTree(place->At()).About(path);
    if (!S_ISLNK(info->st_mode)) return Result(ENOTDIR).About(path);
    if (const Result allowed = CheckTarget(*place); !allowed) return allowed.About(path);
    return Outcome(unlinkat(place->Fd(), place->name.c_str(), 0)).About(path);
}

Result Dir::RemoveIfEmpty(const String& path) {
    const auto place = FindPlace(path);
    if (!place) return place.error().About(path);
    return Outcome(unlinkat(place->Fd(), place->name.c_str(), AT_REMOVEDIR)).About(path);
}

}  // namespace corekit
