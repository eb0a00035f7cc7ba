// Moves entries by rename, else by copy.
#include "corekit/fs/detail/MoveEntry.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/TreeComparison.h"
#include "corekit/fs/detail/CopyEntry.h"
#include "corekit/fs/detail/TempName.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

bool Exists(const EntryRef& entry) {
    return StatOf(entry.directory, entry.name).has_value();
}

bool IsDirectory(const EntryRef& entry) {
    const auto info = StatOf(entry.directory, entry.name);
    return info && S_ISDIR(info->st_mode);
}

Result Replace(const EntryRef& from, const EntryRef& to) {
    return Outcome(renameat(from.directory, from.name.c_str(), to.directory, to.name.c_str()));
}

/// For file systems without a rename that replaces nothing. A link replaces nothing either, and the rename of
/// a directory nothing but an empty one.
Result RenameByLink(const EntryRef& from, const EntryRef& to) {
    if (Exists(to)) return Result(EEXIST);
    if (IsDirectory(from)) return Replace(from, to);
    const Result linked =
        Outcome(linkat(from.directory, from.name.c_str(), to.directory, to.name.c_str(), 0));
    return linked ? Outcome(unlinkat(from.directory, from.name.c_str(), 0)) : linked;
}

Result RenameWithoutReplacing(const EntryRef& from, const EntryRef& to) {
    const Result result = Outcome(
        renameat2(from.directory, from.name.c_str(), to.directory, to.name.c_str(), RENAME_NOREPLACE));
    const bool isUnknown = result.Code() == EINVAL || result.Code() == ENOSYS;
    return isUnknown ? RenameByLink(from, to) : result;
}

Result Rename(const EntryRef& from, const EntryRef& to, Existing existing) {
    return existing == Existing::Replaced ? Replace(from, to) : RenameWithoutReplacing(from, to);
}

Result MoveByCopy(const EntryRef& from, const EntryRef& to, Existing existing) {
    if (existing == Existing::Stays && Exists(to)) return Result(EEXIST);
    // A tree may take long, so signals may end the run here; the next run clears away what is left of the
    // copy.
    std::optional<SignalBlock> untilItStandsOrIsGone;
    if (!IsDirectory(from)) untilItStandsOrIsGone.emplace();
    const auto made = MakeBeside(to, [&](const std::string& name) {
        return CopyEntry(from, {to.directory, name});
    });
    if (!made) return made.error();
    const EntryRef copy{to.directory, *made};
    if (const Result renamed = Rename(copy, to, existing); !renamed) {
        Forgive(RemoveEntry(copy));  // the next move clears away what is left of it
        return renamed;
    }
    const Result flushed = Flush(to.directory);
    return flushed ? RemoveEntry(from) : flushed;
}

}  // namespace

Result MoveEntry(const EntryRef& from, const EntryRef& to, Existing existing) {
    Result result = Rename(from, to, existing);
    if (result.Code() == EXDEV) result = MoveByCopy(from, to, existing);
    if (result.Code() != EEXIST || !ContainsCopyOf(to, from)) return result;
    // A previous run was killed after copying: the copy is complete, so only the original has to go.
    const Result flushed = Flush(to.directory);
    return flushed ? RemoveEntry(from) : flushed;
}

}  // namespace corekit
