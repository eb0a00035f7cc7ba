// Sets modes and owners on open files, so that no link can be put in between.
#include "corekit/fs/detail/FileMode.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

constexpr mode_t kPermissions = 07777;
constexpr mode_t kLentRights = S_ISUID | S_ISGID;

/// Takes a descriptor that is good for nothing but naming the file: fchmod refuses it, its name in /proc does
/// not.
Result SetModeByName(const Descriptor& file, unsigned mode) {
    const std::string name = "/proc/self/fd/" + std::to_string(file.Get());
    return Outcome(chmod(name.c_str(), mode));
}

/// Holds an entry, so that nobody can change it for another one; no link, and no file that others may have
/// given a second name here.
Expected<Descriptor> OpenItself(const EntryRef& entry) {
    auto file = OpenAt(entry.directory, entry.name, O_PATH | O_NOFOLLOW);
    if (!file) return file;
    const auto info = StatOf(file->Get());
    if (!info) return info.error();
    if (S_ISLNK(info->st_mode)) return Result(ELOOP);
    if (const Result only = CheckOnlyName(entry.directory, *info); !only) return only;
    return file;
}

}  // namespace

Result SetMode(const EntryRef& entry, unsigned mode) {
    const auto file = OpenItself(entry);
    if (!file) return file.error();
    const auto info = StatOf(file->Get());
    if (!info) return info.error();
    if (S_ISREG(info->st_mode) || S_ISDIR(info->st_mode)) {
        const auto open = OpenAt(entry.directory, entry.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
        const auto opened = open ? StatOf(open->Get()) : Expected<struct stat>(open.error());
        if (opened && IsSameFile(*opened, *info)) return Outcome(fchmod(open->Get(), mode));
    }
    return SetModeByName(*file, mode);
}

Result SetOwner(const EntryRef& entry, unsigned user, unsigned group) {
    const auto file = OpenItself(entry);
    if (!file) return file.error();
    return Outcome(fchownat(file->Get(), "", user, group, AT_EMPTY_PATH));
}

Result TakeOwnerAndMode(int fd, const struct stat& model, IfRefused ifRefused) {
    const auto own = StatOf(fd);
    if (!own) return own.error();
    mode_t mode = model.st_mode & kPermissions;
    const bool isOwned = own->st_uid == model.st_uid && own->st_gid == model.st_gid;
    if (!isOwned && fchown(fd, model.st_uid, model.st_gid) != 0) {
        if (ifRefused == IfRefused::Fail) return Result::FromErrno();
        mode &= ~kLentRights;
    }
    return Outcome(fchmod(fd, mode));
}

Result TakeTimes(int fd, const struct stat& model) {
    const std::array times = {model.st_atim, model.st_mtim};
    return Outcome(futimens(fd, times.data()));
}

}  // namespace corekit
