// Keeps entries by descriptors of the directories that hold them.
#include "corekit/fs/Keeping.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/CopyEntry.h"
#include "corekit/fs/detail/DirectoryStack.h"
#include "corekit/fs/detail/FileAttributes.h"
#include "corekit/fs/detail/MoveEntry.h"
#include "corekit/fs/detail/TreeRemoval.h"
#include "corekit/fs/detail/TreeWalk.h"
#include "corekit/os/SystemCall.h"

namespace corekit::Keeping {

namespace {

/// Calls `act` with the places of two paths; a failure concerns the first of them.
template <typename Act>
Result WithBoth(const String& from, const String& to, Act&& act) {
    const auto source = ParentDirectory::Of(from);
    if (!source) return source.error().About(from);
    const auto target = ParentDirectory::Of(to);
    if (!target) return target.error().About(to);
    return act(*source, *target).About(from);
}

Result LinkEntry(const EntryRef& from, const EntryRef& to) {
    return Outcome(linkat(from.directory, from.name.c_str(), to.directory, to.name.c_str(), 0));
}

/// Walks through the old tree, and in step with it through the new one.
class TreeOfLinks : public TreeWalk {
  public:
    TreeOfLinks(Descriptor target, std::string name, const String& top,
                const std::function<bool(const String&)>& isLeftOut)
        : TreeWalk(AfterFailure::Stop),
          m_target(std::move(target)),
          m_topName(std::move(name)),
          m_path(top.Utf8()),
          m_isLeftOut(isLeftOut) {}

  private:
    Action OnEntry(int directory, const DirEntry& entry) override {
        const auto info = StatOf(directory, entry.name);
        if (!info) {
            Fail(info.error());
            return Action::Done;
        }
        if (S_ISDIR(info->st_mode)) {
            const std::string path = m_path + "/" + entry.name;
            return m_isLeftOut(String::FromUtf8(path)) ? Action::Done : Action::GoIn;
        }
        if (const Result linked = LinkEntry({directory, entry.name}, {m_target.Fd(), entry.name}); !linked)
            Fail(linked);
        return Action::Done;
    }

    Result Enter(int, const std::string& name) override {
        const std::string& made = m_hasBegun ? name : m_topName;
        if (mkdirat(m_target.Fd(), made.c_str(), 0700) != 0) return Result::FromErrno();
        if (std::exchange(m_hasBegun, true)) m_path += "/" + name;
        return m_target.Enter(made);
    }

    Reading OnDirectoryDone(int parent, const std::string& name, unsigned) override {
        Result result = TakeAttributes(m_target.Fd(), {parent, name}, IfRefused::Fail);
        if (result) result = Flush(m_target.Fd());
        if (const Result left = m_target.Leave(); result) result = left;
        if (!result) Fail(result);
        m_path.erase(m_path.rfind('/'));
        return Reading::Done;
    }

    DirectoryStack m_target;
    std::string m_topName;
    std::string m_path;
    const std::function<bool(const String&)>& m_isLeftOut;
    bool m_hasBegun = false;
};

}  // namespace

Result MakePrivateDirectory(const String& path) {
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    return Outcome(mkdirat(place->Fd(), place->name.c_str(), 0700)).About(path);
}

Result Link(const String& from, const String& to) {
    return WithBoth(from, to, [](const ParentDirectory& source, const ParentDirectory& target) {
        return LinkEntry(source.At(), target.At());
    });
}

Result LinkTree(const String& from, const String& to, const std::function<bool(const String&)>& isLeftOut) {
    return WithBoth(from, to, [&](const ParentDirectory& source, const ParentDirectory& target) {
        auto parent = OpenDirectoryItself(target.Fd(), ".");
        if (!parent) return parent.error();
        return TreeOfLinks(std::move(*parent), target.name, from, isLeftOut).Walk(source.At());
    });
}

Result Copy(const String& from, const String& to) {
    return WithBoth(from, to, [](const ParentDirectory& source, const ParentDirectory& target) {
        return CopyEntry(source.At(), target.At());
    });
}

Result Move(const String& from, const String& to) {
    return WithBoth(from, to, [](const ParentDirectory& source, const ParentDirectory& target) {
        const Result moved = MoveEntry(source.At(), target.At(), Existing::Replaced);
        const Result flushed = moved ? Flush(target.Fd()) : moved;
        return flushed ? Flush(source.Fd()) : flushed;
    });
}

Result Remove(const String& path) {
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    return RemoveEntry(place->At()).About(path);
}

Result RemoveIfThere(const String& path) {
    const Result removed = Remove(path);
    return IsNotFound(removed) ? Result() : removed;
}

Expected<Identity> IdentityOf(const String& path) {
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    const auto info = StatOf(place->Fd(), place->name);
    if (!info) return info.error().About(path);
    return Identity{info->st_dev, info->st_ino};
}

Result SetAccess(const String& path, unsigned mode, unsigned user, unsigned group) {
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    const auto info = StatOf(place->Fd(), place->name);
    if (!info) return info.error().About(path);
    Result result;
    if (info->st_uid != user || info->st_gid != group)
        result = Outcome(fchownat(place->Fd(), place->name.c_str(), user, group, AT_SYMLINK_NOFOLLOW));
    // Changing the owner clears the set-user-ID and set-group-ID bits.
    if (result && !S_ISLNK(info->st_mode)) result = SetMode(place->At(), mode);
    return result.About(path);
}

Result SetAttributes(const String& path, const std::map<std::string, std::string>& attributes) {
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    const std::string entry = ProcPath(place->Fd()) + "/" + place->name;
    for (const auto& [name, value] : attributes) {
        const Result set = Outcome(lsetxattr(entry.c_str(), name.c_str(), value.data(), value.size(), 0));
        if (!set && set.Code() != ENOTSUP) return set.About(path);
    }
    return Result();
}

Result RemoveAttribute(const String& path, const std::string& name) {
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    const std::string entry = ProcPath(place->Fd()) + "/" + place->name;
    const Result removed = Outcome(lremovexattr(entry.c_str(), name.c_str()));
    return removed.Code() == ENODATA ? Result() : removed.About(path);
}

}  // namespace corekit::Keeping
