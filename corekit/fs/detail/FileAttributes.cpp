// Sets modes, owners, times and attributes on open files, so that no link can be put in between.
#include "corekit/fs/detail/FileAttributes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/xattr.h>
#include <unistd.h>

#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

constexpr mode_t kPermissions = 07777;
constexpr mode_t kLentRights = S_ISUID | S_ISGID;
// The errors for an attribute that the file system or the kernel does not let this process set.
constexpr std::array kAttributeRefusals = {ENOTSUP, EPERM, EACCES};

/// Takes a descriptor opened with O_PATH, which fchmod refuses; its name in /proc works.
Result SetModeByName(const Descriptor& file, unsigned mode) {
    const std::string name = "/proc/self/fd/" + std::to_string(file.Get());
    return Outcome(chmod(name.c_str(), mode));
}

/// Opens an entry with O_PATH, so that nobody can exchange it. Refuses a link, and a file that others may
/// have given a second name here.
Expected<Descriptor> OpenItself(const EntryRef& entry) {
    auto file = OpenAt(entry.directory, entry.name, O_PATH | O_NOFOLLOW);
    if (!file) return file;
    const auto info = StatOf(file->Get());
    if (!info) return info.error();
    if (S_ISLNK(info->st_mode)) return Result(ELOOP);
    if (const Result only = CheckOnlyName(entry.directory, *info); !only) return only;
    return file;
}

bool IsAttributeRefusal(const Result& result) {
    return std::ranges::find(kAttributeRefusals, result.Code()) != kAttributeRefusals.end();
}

/// Calls a function that first tells how long a value is and then fills it in.
template <typename Get>
Result ReadValue(Get&& get, std::string& value) {
    const ssize_t size = get(nullptr, 0);
    if (size < 0) return Result::FromErrno();
    value.resize(static_cast<std::size_t>(size));
    const ssize_t length = size == 0 ? 0 : get(value.data(), value.size());
    if (length < 0) return Result::FromErrno();
    value.resize(static_cast<std::size_t>(length));
    return Result();
}

Result ReadAttribute(int fd, const char* name, std::string& value) {
    return ReadValue([&](char* buffer, std::size_t size) { return fgetxattr(fd, name, buffer, size); },
                     value);
}

Result TakeAttribute(int fd, int model, const char* name) {
    std::string value;
    if (const Result read = ReadAttribute(model, name, value); !read) return read;
    std::string present;
    if (ReadAttribute(fd, name, present) && present == value) return Result();
    return fsetxattr(fd, name, value.data(), value.size(), 0) == 0 ? Result() : Result::FromErrno();
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

Result TakeExtendedAttributes(int fd, const EntryRef& model) {
    const auto file = OpenAt(model.directory, model.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (!file) return file.error();
    std::string names;
    const Result listed = ReadValue(
        [&](char* buffer, std::size_t size) { return flistxattr(file->Get(), buffer, size); }, names);
    if (!listed) return IsAttributeRefusal(listed) ? Result() : listed;
    for (const char* name = names.c_str(); name < names.c_str() + names.size();
         name += std::strlen(name) + 1) {
        const Result taken = TakeAttribute(fd, file->Get(), name);
        if (!taken && !IsAttributeRefusal(taken)) return taken;
    }
    return Result();
}

}  // namespace corekit
