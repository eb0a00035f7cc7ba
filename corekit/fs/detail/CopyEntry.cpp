// Copies directory entries: files, links and special files with their attributes, and trees entry by entry.
#include "corekit/fs/detail/CopyEntry.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corekit/fs/detail/DirectoryStack.h"
#include "corekit/fs/detail/FileAttributes.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "corekit/fs/detail/TreeWalk.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

Result CopyContent(int from, int to) {
    std::array<char, 65536> chunk;
    for (;;) {
        const auto count = ReadSome(from, chunk);
        if (!count) return count.error();
        if (*count == 0) return Result();
        if (const Result result = WriteAll(to, {chunk.data(), *count}); !result) return result;
    }
}

namespace {

/// Nobody else can open the copy before it is complete. The attributes come last: a change of the content
/// takes some of them away.
Result FillCopy(int source, int copy, const struct stat& model) {
    if (const Result result = CopyContent(source, copy); !result) return result;
    if (const Result result = TakeAttributes(copy, source, IfRefused::GoOn); !result) return result;
    if (const Result result = TakeTimes(copy, model); !result) return result;
    return Flush(copy);
}

Result CopyRegular(const EntryRef& from, const EntryRef& to) {
    const auto source = OpenRegular(from.directory, from.name, Links::Refused);
    if (!source) return source.error();
    if (const Result only = CheckOnlyName(from.directory, source->info); !only) return only;
    const auto copy = OpenAt(to.directory, to.name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
    if (!copy) return copy.error();
    const Result result = FillCopy(source->file.Get(), copy->Get(), source->info);
    if (!result) unlinkat(to.directory, to.name.c_str(), 0);
    return result;
}

Result CopyLink(const EntryRef& from, const EntryRef& to, const struct stat& info) {
    const auto target = ReadLink(from.directory, from.name);
    if (!target) return target.error();
    if (symlinkat(target->c_str(), to.directory, to.name.c_str()) != 0) return Result::FromErrno();
    // Nothing depends on the owner, the attributes and the times of a link.
    const std::array times = {info.st_atim, info.st_mtim};
    Forgive(Outcome(fchownat(to.directory, to.name.c_str(), info.st_uid, info.st_gid, AT_SYMLINK_NOFOLLOW)));
    Forgive(TakeExtendedAttributes(to, from));
    Forgive(Outcome(utimensat(to.directory, to.name.c_str(), times.data(), AT_SYMLINK_NOFOLLOW)));
    return Result();
}

Result CopySpecial(const EntryRef& from, const EntryRef& to, const struct stat& info) {
    if (mknodat(to.directory, to.name.c_str(), (info.st_mode & S_IFMT) | 0600, info.st_rdev) != 0)
        return Result::FromErrno();
    // Forgiven: an entry without its former owner gives nobody more rights than the original did.
    Forgive(SetOwner(to, info.st_uid, info.st_gid));
    Result result = SetMode(to, info.st_mode & 0777);
    if (result) result = TakeExtendedAttributes(to, from);
    if (!result) unlinkat(to.directory, to.name.c_str(), 0);
    return result;
}

/// Fails with EISDIR for a directory.
Result CopyFileEntry(const EntryRef& from, const EntryRef& to) {
    const auto info = StatOf(from.directory, from.name);
    if (!info) return info.error();
    if (S_ISREG(info->st_mode)) return CopyRegular(from, to);
    if (S_ISLNK(info->st_mode)) return CopyLink(from, to, *info);
    return S_ISDIR(info->st_mode) ? Result(EISDIR) : CopySpecial(from, to, *info);
}

/// Walks through the old tree, and in step with it through the new one.
class TreeCopy : public TreeWalk {
  public:
    TreeCopy(Descriptor target, std::string name)
        : TreeWalk(AfterFailure::Stop), m_target(std::move(target)), m_topName(std::move(name)) {}

    /// True if something has been made that has to be removed after a failure.
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

    /// Runs last, since every entry that is made in a directory changes its time.
    Result Finish(int parent, const std::string& name) {
        const auto info = StatOf(parent, name);
        if (!info) return info.error();
        if (const Result result = TakeAttributes(m_target.Fd(), {parent, name}, IfRefused::GoOn); !result)
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
    // The first failure is returned; the next copy clears away what is left of this one.
    if (!result && copy.HasBegun()) Forgive(RemoveTree(to));
    return result;
}

}  // namespace

Result CopyEntry(const EntryRef& from, const EntryRef& to) {
    const Result result = CopyFileEntry(from, to);
    return result.Code() == EISDIR ? CopyTree(from, to) : result;
}

}  // namespace corekit
