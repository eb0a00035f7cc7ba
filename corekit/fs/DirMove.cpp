// Moves what a directory holds into another.
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "corekit/fs/detail/DirectoryBatch.h"
#include "corekit/fs/detail/FileMode.h"
#include "corekit/fs/detail/MoveEntry.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

/// Goes on after a failure, so that as much as possible gets to its new place; returns the first one, but one
/// that says more than that a name was taken before that.
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
Result OpenOrMake(const String& path, int model, Descriptor& directory) {
    const Result found = File::Probe(path);
    if (IsTransient(found)) return found;
    const bool isNew = !found;
    if (const Result result = Dir::CreateR(path); !result) return result;
    directory = OpenDirectory(NativePath(path));
    struct stat info {};
    if (!directory || fstat(model, &info) != 0) return Result::FromErrno();
    return isNew ? TakeOwnerAndMode(directory.Get(), info, IfRefused::GoOn) : Result();
}

}  // namespace

Result Dir::Move(const String& from, const String& to) {
    if (Path::IsWithin(to, from)) return Result(EINVAL);
    const Descriptor source = OpenDirectory(NativePath(from));
    if (!source) return Result::FromErrno();
    if (const Result result = RefuseHostDirectory(source); !result) return result;
    Descriptor target;
    if (const Result result = OpenOrMake(to, source.Get(), target); !result) return result;
    const Result result = MoveEntries(source.Get(), target.Get());
    const Result flushed = Flush(target.Get());
    Forgive(Outcome(rmdir(NativePath(from).c_str())));
    return result ? flushed : result;
}

}  // namespace corekit
