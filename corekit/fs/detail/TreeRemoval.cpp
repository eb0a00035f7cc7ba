// Removes trees entry by entry.
#include "corekit/fs/detail/TreeRemoval.h"

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/detail/TreeWalk.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

/// Success for an entry that is gone already.
Result Removed(int directory, const char* name, int flags) {
    const Result result = Outcome(unlinkat(directory, name, flags));
    return result.Code() == ENOENT ? Result() : result;
}

bool IsNotEmpty(const Result& result) {
    return result.Code() == ENOTEMPTY || result.Code() == EEXIST;
}

/// The path of an entry in an open directory, for whoever reads of the failure.
String PathOf(int directory, const std::string& name) {
    const auto path = ReadLink(AT_FDCWD, "/proc/self/fd/" + std::to_string(directory));
    if (!path) return String();
    return String::FromUtf8((*path == "/" ? "" : *path) + "/" + name);
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
        if (entry.type != DT_DIR) result = Removed(directory, entry.name, 0);
        // Tries rmdir first: an empty directory needs no walk, and a mount point answers with EBUSY.
        if (result.Code() == EISDIR) result = Removed(directory, entry.name, AT_REMOVEDIR);
        if (IsNotEmpty(result)) return Action::GoIn;
        if (!result) Fail(result.About(PathOf(directory, entry.name)));
        return Action::Done;
    }

    Reading OnDirectoryDone(int parent, const std::string& name, unsigned reading) override {
        const Result result = Removed(parent, name.c_str(), AT_REMOVEDIR);
        if (IsNotEmpty(result) && !HasFailed() && reading < kMostReadings) return Reading::Again;
        if (!result) Fail(result.About(PathOf(parent, name)));
        return Reading::Done;
    }

    timespec m_begin{};
};

}  // namespace

Result RemoveTree(const EntryRef& top) {
    return TreeRemoval().Walk(top);
}

Result RemoveEntry(const EntryRef& entry) {
    Result result = Outcome(unlinkat(entry.directory, entry.name.c_str(), 0));
    if (result.Code() == EISDIR)
        result = Outcome(unlinkat(entry.directory, entry.name.c_str(), AT_REMOVEDIR));
    return IsNotEmpty(result) ? RemoveTree(entry) : result;
}

}  // namespace corekit
