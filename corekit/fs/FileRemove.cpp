// Removes files by name and by wildcard.
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/DirectoryBatch.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/Regex.h"

namespace corekit::File {

namespace {

/// Removes the entries of a directory that match a wildcard, but not the host's own; returns the gravest
/// failure.
Result RemoveMatches(const ParentDirectory& pattern) {
    const HostNames hostNames(pattern.Fd());
    Result failure;
    const Result result = RemoveEntriesOf(pattern.Fd(), [&](const DirEntry& entry) {
        if (!MatchesWildcard(pattern.name, entry.name)) return false;
        const Result refused = hostNames.Refuse(entry.name);
        const Result removed = refused ? RemoveEntry({pattern.Fd(), entry.name}) : refused;
        failure = Worse(failure, removed);
        return removed.Ok();
    });
    return Worse(failure, result);
}

}  // namespace

Result Remove(const String& path) {
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    if (const Result result = RefuseHostName(place->At()); !result) return result.About(path);
    return Outcome(unlinkat(place->Fd(), place->name.c_str(), 0)).About(path);
}

Result RemoveAny(const String& path) {
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    if (const Result allowed = RefuseHostName(place->At()); !allowed) return allowed.About(path);
    return RemoveEntry(place->At()).About(path);
}

Result RemoveEx(const String& pattern, HostDirectory hostDirectory) {
    if (pattern.IsEmpty()) return Result();
    if (pattern.EndsWith(L"/")) return Result(EINVAL);
    const auto place = ParentDirectory::Of(pattern);
    if (!place) return place.error().About(pattern);
    if (!HasWildcard(place->name)) return RemoveAny(pattern);
    if (hostDirectory == HostDirectory::Refused) {
        if (const Result allowed = RefuseHostDirectory(place->directory); !allowed)
            return allowed.About(pattern);
    }
    return RemoveMatches(*place).About(pattern);
}

}  // namespace corekit::File
