// Walks paths component by component.
#include "corekit/fs/ParentDirectory.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

constexpr int kMostLinks = 40;  // as many as the kernel follows

bool IsRootsAlone(const struct stat& directory) {
    const bool isGroups =
        (directory.st_mode & S_IWGRP) != 0 && directory.st_gid != 0 && directory.st_gid != getegid();
    return IsRoots(directory.st_uid) && !isGroups && (directory.st_mode & S_IWOTH) == 0;
}

/// A walk over open directories, and its path as text, for the failure that ends it.
class Walk {
  public:
    /// Walks on by a path; by an absolute one from the root again.
    Result Along(const std::string& path) {
        if (path.starts_with('/') || !m_place) {
            auto start = OpenAt(AT_FDCWD, path.starts_with('/') ? "/" : ".", O_PATH | O_DIRECTORY);
            if (!start) return start.error();
            m_place = std::move(*start);
            m_text.assign(path.starts_with('/') ? 0 : 1, '.');
        }
        for (std::size_t at = 0; at < path.size();) {
            const std::size_t end = std::min(path.find('/', at), path.size());
            if (const Result entered = Enter(path.substr(at, end - at)); !entered) return entered;
            at = end + 1;
        }
        return Result();
    }

    /// Where a link leads that may be followed; ENOTDIR when the name is no link.
    Expected<std::string> TargetOf(const std::string& name) {
        const auto link = StatOf(m_place.Get(), name);
        if (!link) return link.error();
        if (!S_ISLNK(link->st_mode)) return Result(ENOTDIR);
        const auto holder = StatOf(m_place.Get());
        if (!holder) return holder.error();
        const std::string text = m_text.empty() ? "/" : m_text;
        if (!IsRootsAlone(*holder)) return Result(kBelongsToOthers).About(String::FromUtf8(text));
        if (!IsRoots(link->st_uid))
            return Result(kBelongsToOthers).About(String::FromUtf8(m_text + "/" + name));
        if (++m_links > kMostLinks) return Result(ELOOP);
        return ReadLink(m_place.Get(), name);
    }

    /// The directory that was reached, open for reading.
    Expected<Descriptor> Open() const { return OpenDirectoryItself(m_place.Get(), "."); }

    int Fd() const { return m_place.Get(); }

    /// The directory that was reached; "" is the root.
    const std::string& Text() const { return m_text; }

  private:
    Result Enter(const std::string& name) {
        if (name.empty() || name == ".") return Result();
        auto next = OpenAt(m_place.Get(), name, O_PATH | O_DIRECTORY | O_NOFOLLOW);
        if (next) {
            m_place = std::move(*next);
            m_text = name == ".." ? m_text.substr(0, m_text.rfind('/')) : m_text + "/" + name;
            return Result();
        }
        if (next != Result(ENOTDIR)) return next.error();
        const auto target = TargetOf(name);
        return target ? Along(*target) : target.error();
    }

    Descriptor m_place;
    std::string m_text;  // "" is the root
    int m_links = 0;
};

/// Most paths hold no link at all, and then one call is the whole walk.
Expected<Descriptor> OpenWithoutLinks(const std::string& path, unsigned flags) {
    open_how how{};
    how.flags = flags | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    const long fd = syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how);
    if (fd < 0) return Result::FromErrno();
    return Descriptor(static_cast<int>(fd));
}

/// True when a link is on the way, and where the kernel or a sandbox does not know the call.
bool NeedsWalk(const Result& opened) {
    constexpr std::array kUnanswered = {ELOOP, ENOSYS, EPERM, EAGAIN};
    return std::ranges::find(kUnanswered, opened.Code()) != kUnanswered.end();
}

struct Split {
    std::string directory;  // "." or with a "/" at its end
    std::string name;       // empty or "." or "..": the path names no entry
};

Split SplitPath(std::string path) {
    path.erase(path.find_last_not_of('/') + 1);
    const std::size_t nameStart = path.rfind('/') + 1;  // 0 without any "/"
    return {nameStart == 0 ? "." : path.substr(0, nameStart), path.substr(nameStart)};
}

bool NamesEntry(const std::string& name) {
    return !name.empty() && name != "." && name != "..";
}

/// Walks to what a path leads to, whether anything is there or not: to the directory that holds it, and of
/// one that is no entry to the directory itself, with an empty name.
Expected<std::string> WalkToTarget(Walk& walk, std::string path) {
    for (;;) {
        const Split split = SplitPath(path);
        const bool namesEntry = NamesEntry(split.name);
        if (const Result walked = walk.Along(namesEntry ? split.directory : path); !walked) return walked;
        if (!namesEntry) return std::string();
        auto target = walk.TargetOf(split.name);
        if (target == Result(ENOTDIR) || target == Result(ENOENT)) return split.name;
        if (!target) return target;
        path = std::move(*target);
    }
}

Expected<ParentDirectory> WalkToPlace(const std::string& path) {
    Walk walk;
    const auto name = WalkToTarget(walk, path);
    if (!name) return name.error();
    auto directory = walk.Open();
    if (!directory) return directory.error();
    return ParentDirectory{std::move(*directory), name->empty() ? "." : *name};
}

/// An absolute path that leads over no links, with "." and ".." resolved.
std::string DotsResolved(const std::string& path) {
    std::string text;
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        const std::string name = path.substr(at, end - at);
        if (name == "..") text.erase(std::min(text.rfind('/'), text.size()));
        if (NamesEntry(name)) text += "/" + name;
        at = end + 1;
    }
    return text.empty() ? "/" : text;
}

}  // namespace

bool IsRoots(uid_t user) {
    if (user == 0 || user == geteuid()) return true;
    struct stat root {};
    return stat("/", &root) == 0 && user == root.st_uid;
}

Expected<ParentDirectory> ParentDirectory::Of(const String& path) {
    const std::string bytes = NativePath(path);
    if (bytes.empty()) return Result(ENOENT);
    const Split split = SplitPath(bytes);
    if (!NamesEntry(split.name)) return Result(EISDIR);
    auto directory = OpenDirectory(split.directory);
    if (!directory) return directory.error();
    return ParentDirectory{std::move(*directory), split.name};
}

Expected<ParentDirectory> ParentDirectory::OfTarget(const String& path) {
    auto place = Of(path);
    if (place) {
        const auto info = StatOf(place->Fd(), place->name);
        if (!info && info != Result(ENOENT)) return info.error();
        if (!info || !S_ISLNK(info->st_mode)) return place;
    } else if (place != Result(EISDIR)) {
        return place;
    }
    return WalkToPlace(NativePath(path));
}

Expected<struct stat> StatOfTarget(const String& path) {
    const auto place = ParentDirectory::Of(path);
    if (!place && place != Result(EISDIR)) return place.error();
    if (place) {
        const auto info = StatOf(place->Fd(), place->name);
        if (!info || !S_ISLNK(info->st_mode)) return info;
    }
    const auto target = WalkToPlace(NativePath(path));
    return target ? StatOf(target->Fd(), target->name) : target.error();
}

Expected<std::string> CanonicalPath(const std::string& absolute) {
    if (absolute.empty()) return Result(ENOENT);
    const auto found = OpenWithoutLinks(absolute, O_PATH);
    if (found) return DotsResolved(absolute);
    if (!NeedsWalk(found.error())) return found.error();
    Walk walk;
    const auto name = WalkToTarget(walk, absolute);
    if (!name) return name.error();
    if (name->empty()) return walk.Text().empty() ? "/" : walk.Text();
    const auto info = StatOf(walk.Fd(), *name);
    if (!info) return info.error();
    return walk.Text() + "/" + *name;
}

Expected<Descriptor> OpenDirectory(const String& path) {
    return OpenDirectory(NativePath(path));
}

Expected<Descriptor> OpenDirectory(const std::string& path) {
    if (path.empty()) return Result(ENOENT);
    auto directory = OpenWithoutLinks(path, O_RDONLY | O_DIRECTORY);
    if (directory || !NeedsWalk(directory.error())) return directory;
    Walk walk;
    if (const Result walked = walk.Along(path); !walked) return walked;
    return walk.Open();
}

Result CheckOnlyName(int directory, const struct stat& file) {
    if (S_ISDIR(file.st_mode) || file.st_nlink == 1) return Result();
    const auto holder = StatOf(directory);
    if (!holder) return holder.error();
    return IsRootsAlone(*holder) ? Result() : Result(kBelongsToOthers);
}

}  // namespace corekit
