// Removes files by name and by wildcard.
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "corekit/DirChunk.h"
#include "corekit/File.h"
#include "corekit/HostDirectories.h"
#include "corekit/Place.h"
#include "corekit/SystemCall.h"
#include "corekit/TreeRemoval.h"
#include "corekit/Wildcard.h"

namespace corekit::File {

namespace {

/// Removes the entries of a directory that match a wildcard, but not the host's own; returns the first
/// failure.
Result RemoveMatches(const Place& pattern) {
    const HostNames hostNames(pattern.Fd());
    Result failure;
    const Result result = TakeOut(pattern.Fd(), [&](const DirEntry& entry) {
        if (!MatchesWildcard(pattern.name, entry.name)) return false;
        const Result removed =
            hostNames.Include(entry.name) ? Result(EPERM) : RemoveEntry({pattern.Fd(), entry.name});
        if (failure) failure = removed;
        return removed.Ok();
    });
    return failure ? result : failure;
}

}  // namespace

Result Remove(const String& path) {
    Place place;
    if (const Result result = Place::Of(path, place); !result) return result;
    if (IsHostName(place.At())) return Result(EPERM);
    return Outcome(unlinkat(place.Fd(), place.name.c_str(), 0));
}

Result RemoveAny(const String& path) {
    Place place;
    if (const Result result = Place::Of(path, place); !result) return result;
    return IsHostName(place.At()) ? Result(EPERM) : RemoveEntry(place.At());
}

Result RemoveEx(const String& pattern, HostDirectory hostDirectory) {
    if (pattern.IsEmpty()) return Result();
    if (pattern.EndsWith(L"/")) return Result(EINVAL);
    Place place;
    if (const Result result = Place::Of(pattern, place); !result) return result;
    if (!HasWildcard(place.name)) return RemoveAny(pattern);
    if (hostDirectory == HostDirectory::Refused && IsHostDirectory(place.directory)) return Result(EPERM);
    return RemoveMatches(place);
}

}  // namespace corekit::File
