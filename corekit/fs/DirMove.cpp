// Moves what a directory holds into another.
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "corekit/fs/detail/DirectoryBatch.h"
#include "corekit/fs/detail/FileAttributes.h"
#include "corekit/fs/detail/MoveEntry.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

/// Goes on after a failure, so that as much as possible gets to its new place. Returns the first failure; any
/// other error takes precedence over EEXIST.
Result MoveEntries(int from, int to) {
    Result failure;
    const Result result = RemoveEntriesOf(from, [&](const DirEntry& entry) {
        const Result moved = MoveEntry({from, entry.name}, {to, entry.name}, Existing::Stays);
        if (failure || (failure.Code() == EEXIST && !moved)) failure = moved;
        return moved.Ok();
    });
    return failure ? result : failure;
}

/// A directory that is made takes over owner and mode of the old one: what was private stays private.
Expected<Descriptor> OpenOrMake(const String& path, int model) {
    const Result found = File::Probe(path);
    if (IsTransient(found)) return found;
    const bool isNew = !found;
    if (const Result result = Dir::CreateR(path); !result) return result;
    auto directory = OpenDirectory(path);
    if (!directory || !isNew) return directory;
    const auto info = StatOf(model);
    if (!info) return info.error();
    if (const Result taken = TakeOwnerAndMode(directory->Get(), *info, IfRefused::GoOn); !taken) return taken;
    return directory;
}

}  // namespace

Result Dir::Move(const String& from, const String& to) {
    if (Path::IsWithin(to, from)) return Result(EINVAL).About(to);
    const auto source = OpenDirectory(from);
    if (!source) return source.error().About(from);
    if (const Result allowed = CheckRemovable(*source); !allowed) return allowed.About(from);
    const auto target = OpenOrMake(to, source->Get());
    if (!target) return target.error().About(to);
    const Result moved = MoveEntries(source->Get(), target->Get());
    const Result flushed = Flush(target->Get());
    // A directory that still holds something, or that is reached by a link, stays.
    Forgive(RemoveIfEmpty(from));
    return moved ? flushed.About(to) : moved.About(from);
}

}  // namespace corekit
