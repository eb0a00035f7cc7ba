// Moves what a directory holds into another.
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <string_view>

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

constexpr std::size_t kLongestMountTable = std::size_t{64} << 20;

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

/// A directory that is made takes over all attributes of the old one: what was private stays private.
Expected<Descriptor> OpenOrMake(const String& path, int model) {
    const Result found = File::Probe(path);
    if (IsTransient(found)) return found;
    const bool isNew = !found;
    if (const Result result = Dir::CreateR(path); !result) return result;
    auto directory = OpenDirectory(path);
    if (!directory || !isNew) return directory;
    if (const Result taken = TakeAttributes(directory->Get(), model, IfRefused::GoOn); !taken) return taken;
    return directory;
}

/// True where something may be mounted below a directory.
bool MayHoldMounts(const Descriptor& directory) {
    const auto path = ReadLink(AT_FDCWD, ProcPath(directory.Get()));
    const auto table = OpenAt(AT_FDCWD, "/proc/self/mountinfo", O_RDONLY);
    if (!path || !table) return true;
    const auto mounts = ReadAll(table->Get(), kLongestMountTable);
    if (!mounts) return true;
    std::string below = " ";
    for (const char each : *path + "/") {
        // As the table writes what would end a field.
        const std::string_view special = " \t\n\\";
        constexpr const char* kEscaped[] = {"\\040", "\\011", "\\012", "\\134"};
        const std::size_t found = special.find(each);
        below += found == std::string_view::npos ? std::string(1, each) : kEscaped[found];
    }
    return mounts->find(below) != std::string::npos;
}

/// Renames a directory to where nothing is. Fails where that is not possible, or would take along what is
/// mounted in it.
Result RenameWhole(const String& from, const Descriptor& directory, const String& to) {
    if (!IsNotFound(File::Probe(to))) return Result(EEXIST);
    const auto old = ParentDirectory::Of(from);
    if (!old) return old.error();
    const auto itself = StatOf(directory.Get());
    const auto entry = StatOf(old->Fd(), old->name);
    if (!itself || !entry || !IsSameFile(*itself, *entry)) return Result(ELOOP);
    if (MayHoldMounts(directory)) return Result(EBUSY);
    if (const Result made = Dir::CreateR(Path::GetDirectory(to)); !made) return made;
    const auto place = ParentDirectory::Of(to);
    if (!place) return place.error();
    return Outcome(
        renameat2(old->Fd(), old->name.c_str(), place->Fd(), place->name.c_str(), RENAME_NOREPLACE));
}

Result MoveDirectory(const String& from, const String& to) {
    if (Path::IsWithin(to, from)) return Result(EINVAL).About(to);
    const auto source = OpenDirectory(from);
    if (!source) return source.error().About(from);
    if (const Result allowed = CheckRemovable(*source); !allowed) return allowed.About(from);
    if (RenameWhole(from, *source, to)) return Dir::FlushEntries(Path::GetDirectory(to));
    const auto target = OpenOrMake(to, source->Get());
    if (!target) return target.error().About(to);
    const Result moved = MoveEntries(source->Get(), target->Get());
    const Result flushed = Flush(target->Get());
    // A directory that still holds something, or that is reached by a link, stays.
    Forgive(Dir::RemoveIfEmpty(from));
    return moved ? flushed.About(to) : moved.About(from);
}

}  // namespace

Result Dir::Move(const String& from, const String& to) {
    return MoveDirectory(Path::WithoutTrailingDots(from), Path::WithoutTrailingDots(to));
}

}  // namespace corekit
