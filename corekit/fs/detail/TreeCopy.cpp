// Copies trees entry by entry.
#include "corekit/fs/detail/TreeCopy.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "corekit/fs/detail/DirectoryStack.h"
#include "corekit/fs/detail/FileCopy.h"
#include "corekit/fs/detail/FileMode.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "corekit/fs/detail/TreeWalk.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

/// Walks through the old tree, and in step with it through the new one.
class TreeCopy : public TreeWalk {
  public:
    TreeCopy(Descriptor target, std::string name)
        : TreeWalk(AfterFailure::Stop), m_target(std::move(target)), m_topName(std::move(name)) {}

    /// Has anything been made that would have to be removed after a failure?
    bool HasBegun() const { return m_hasBegun; }

  private:
    Action OnEntry(int directory, const DirEntry& entry) override {
        const Result result = CopyFileEntry({directory, entry.name}, {m_target.Fd(), entry.name});
        if (result.Code() == EISDIR) return Action::GoIn;
        if (!result) Fail(result);
        return Action::Done;
    }

    Result Enter(int, const std::string& name) override {
        const std::string& copy = m_hasBegun ? name : m_topName;
        if (mkdirat(m_target.Fd(), copy.c_str(), 0700) != 0) return Result::FromErrno();
        m_hasBegun = true;
        return m_target.Enter(copy);
    }

    Reading OnDirectoryDone(int parent, const std::string& name, unsigned) override {
        if (const Result result = Finish(parent, name); !result) Fail(result);
        if (const Result result = m_target.Leave(); !result) Fail(result);
        return Reading::Done;
    }

    /// Only now, since all that is made in a directory changes its time.
    Result Finish(int parent, const std::string& name) {
        const auto info = StatOf(parent, name);
        if (!info) return info.error();
        if (const Result result = TakeOwnerAndMode(m_target.Fd(), *info, IfRefused::GoOn); !result)
            return result;
        if (const Result result = TakeTimes(m_target.Fd(), *info); !result) return result;
        return Flush(m_target.Fd());
    }

    DirectoryStack m_target;
    std::string m_topName;
    bool m_hasBegun = false;
};

Result CopyTree(const EntryRef& from, const EntryRef& to) {
    auto parent = OpenDirectoryItself(to.directory, ".");
    if (!parent) return parent.error();
    TreeCopy copy(std::move(*parent), to.name);
    const Result result = copy.Walk(from);
    // The failure is told; what is left of the copy the next one clears away.
    if (!result && copy.HasBegun()) Forgive(RemoveTree(to));
    return result;
}

}  // namespace

Result CopyEntry(const EntryRef& from, const EntryRef& to) {
    const Result result = CopyFileEntry(from, to);
    return result.Code() == EISDIR ? CopyTree(from, to) : result;
}

}  // namespace corekit
