// Moves what a directory holds into another.
#include <cerrno>
#include <unistd.h>

#include "corekit/Dir.h"
#include "corekit/DirChunk.h"
#include "corekit/HostDirectories.h"
#include "corekit/Path.h"
#include "corekit/Relocation.h"
#include "corekit/SystemCall.h"

namespace corekit {

namespace {

/// Goes on after a failure, so that as much as possible gets to its new place; returns the first one, but one
/// that says more than that a name was taken before that.
Result MoveEntries(int from, int to) {
    Result failure;
    const Result result = TakeOut(from, [&](const DirEntry& entry) {
        const Result moved = MoveEntry({from, entry.name}, {to, entry.name}, Existing::Stays);
        if (failure || (failure.Code() == EEXIST && !moved)) failure = moved;
        return moved.Ok();
    });
    return failure ? result : failure;
}

}  // namespace

Result Dir::Move(const String& from, const String& to) {
    if (IsHostDirectory(from)) return Result(EPERM);
    if (Path::IsWithin(to, from)) return Result(EINVAL);
    const Descriptor source = OpenDirectory(NativePath(from));
    if (!source) return Result::FromErrno();
    if (const Result result = CreateR(to); !result) return result;
    const Descriptor target = OpenDirectory(NativePath(to));
    if (!target) return Result::FromErrno();
    const Result result = MoveEntries(source.Get(), target.Get());
    const Result flushed = Flush(target.Get());
    Forgive(Outcome(rmdir(NativePath(from).c_str())));
    return result ? flushed : result;
}

}  // namespace corekit
