// Removes trees entry by entry.
#include "corekit/fs/detail/TreeRemoval.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corekit/fs/Confinement.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/detail/TreeWalk.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

/// Removes an entry; success also if it is gone already.
Result UnlinkIfPresent(int directory, const char* name, int flags) {
    const Result result = Outcome(unlinkat(directory, name, flags));
    return result.Code() == ENOENT ? Result() : result;
}

bool IsNotEmpty(const Result& result) {
    return result.Code() == ENOTEMPTY || result.Code() == EEXIST;
}

/// The path of an entry in an open directory, for the text of a failure; empty where it is not known.
String PathOf(int directory, const std::string& name) {
    const auto path = ReadLink(AT_FDCWD, ProcPath(directory));
    if (!path) return String();
    return String::FromUtf8((*path == "/" ? "" : *path) + "/" + name);
}

/// Looks at what a removal would be refused, without removing anything: succeeds for a tree that would go
/// whole.
class TreeInspection : public TreeWalk {
  public:
    TreeInspection() : TreeWalk(AfterFailure::Stop) {}

  private:
    Result Enter(int directory, const std::string&) override { return CheckConfined({directory, "."}); }

    Action OnEntry(int directory, const DirEntry& entry) override {
        constexpr std::uint64_t kStays = STATX_ATTR_MOUNT_ROOT | STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND;
        constexpr int kItself = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
        struct statx info {};
        const Result result = Outcome(statx(directory, entry.name, kItself, STATX_TYPE, &info));
        const bool isTold = (info.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0;
        if (!result || !isTold || (info.stx_attributes & kStays) != 0) Fail(result ? Result(EPERM) : result);
        return S_ISDIR(info.stx_mode) ? Action::GoIn : Action::Done;
    }

    Reading OnDirectoryDone(int, const std::string&, unsigned) override { return Reading::Done; }
};

std::string takenAwayTo;

/// The top of the file system that a directory lies on.
Expected<Descriptor> TopOf(int directory) {
    auto at = OpenAt(directory, ".", O_PATH | O_DIRECTORY);
    while (at) {
        struct statx info {};
        if (statx(at->Get(), "", AT_EMPTY_PATH, 0, &info) != 0) return Result::FromErrno();
        if ((info.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) == 0) return Result(ENOTSUP);
        if ((info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) return at;
        auto above = OpenAt(at->Get(), "..", O_PATH | O_DIRECTORY);
        if (!above) return above;
        *at = std::move(*above);
    }
    return at;
}

/// True when the tree has gone by one rename.
bool TakeAway(const EntryRef& tree) {
    static unsigned count = 0;
    const auto top = TopOf(tree.directory);
    if (!top || CheckRemovable(*top) != Result(EPERM) || !TreeInspection().Walk(tree)) return false;
    const std::string place = takenAwayTo + std::to_string(count++);
    return renameat2(tree.directory, tree.name.c_str(), top->Get(), place.c_str(), RENAME_NOREPLACE) == 0;
}

class TreeRemoval : public TreeWalk {
  public:
    TreeRemoval() : TreeWalk(AfterFailure::GoOn) { clock_gettime(CLOCK_REALTIME, &m_begin); }

  private:
    /// Refuses (EBUSY) a directory that was made after the removal began: somebody may go on making them.
    Result Enter(int directory, const std::string&) override {
        if (const Result confined = CheckConfined({directory, "."}); !confined) return confined;
        struct statx info {};
        const bool isKnown = statx(directory, "", AT_EMPTY_PATH, STATX_BTIME, &info) == 0 &&
                             (info.stx_mask & STATX_BTIME) != 0;
        using Moment = std::pair<std::int64_t, std::int64_t>;
        const Moment born(info.stx_btime.tv_sec, info.stx_btime.tv_nsec);
        return isKnown && born > Moment(m_begin.tv_sec, m_begin.tv_nsec) ? Result(EBUSY) : Result();
    }

    Action OnEntry(int directory, const DirEntry& entry) override {
        Result result(EISDIR);
        if (entry.type != DT_DIR) result = UnlinkIfPresent(directory, entry.name, 0);
        // Tries rmdir first: an empty directory needs no walk, and a mount point answers with EBUSY.
        if (result.Code() == EISDIR) result = UnlinkIfPresent(directory, entry.name, AT_REMOVEDIR);
        if (IsNotEmpty(result)) return Action::GoIn;
        if (!result) Fail(result.About(PathOf(directory, entry.name)));
        return Action::Done;
    }

    Reading OnDirectoryDone(int parent, const std::string& name, unsigned reading) override {
        const Result result = UnlinkIfPresent(parent, name.c_str(), AT_REMOVEDIR);
        if (IsNotEmpty(result) && !HasFailed() && reading < kMostReadings) return Reading::Again;
        if (!result) Fail(result.About(PathOf(parent, name)));
        return Reading::Done;
    }

    timespec m_begin{};
};

}  // namespace

void Dir::TakeTreesAwayTo(const std::string& place) {
    takenAwayTo = place;
}

Result RemoveTree(const EntryRef& top) {
    if (!takenAwayTo.empty() && TakeAway(top)) return Result();
    return TreeRemoval().Walk(top);
}

Result Unlink(const EntryRef& entry, int flags) {
    const Result result = Outcome(unlinkat(entry.directory, entry.name.c_str(), flags));
    if (result != Result(EROFS)) return result;
    const auto info = StatOf(entry.directory, entry.name);
    return info ? result : info.error();
}

Result RemoveEntry(const EntryRef& entry) {
    Result result = Unlink(entry);
    if (result.Code() == EISDIR) result = Unlink(entry, AT_REMOVEDIR);
    return IsNotEmpty(result) ? RemoveTree(entry) : result;
}

}  // namespace corekit
