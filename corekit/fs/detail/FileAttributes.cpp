// Sets modes, owners, times and attributes on open files, so that no link can be put in between.
#include "corekit/fs/detail/FileAttributes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

constexpr mode_t kPermissions = 07777;
constexpr mode_t kLentRights = S_ISUID | S_ISGID;
// The errors for an attribute that the file system or the kernel does not let this process set.
constexpr std::array kAttributeRefusals = {ENOTSUP, EPERM, EACCES};
// What a directory may give to all that is made in it.
constexpr const char* kAccessList = "system.posix_acl_access";
constexpr std::array kAccessLists = {kAccessList, "system.posix_acl_default"};

/// Opens an entry so that nobody can exchange it. Refuses a file that others may have given a second name
/// here.
Expected<OpenFile> OpenAs(const EntryRef& entry, int flags) {
    auto file = OpenAt(entry.directory, entry.name, flags | O_NOFOLLOW);
    if (!file) return file.error();
    const auto info = StatOf(file->Get());
    if (!info) return info.error();
    if (const Result only = CheckOnlyName(entry.directory, *info); !only) return only;
    return OpenFile{std::move(*file), *info};
}

/// Opens an entry of any kind as no more than a name.
Expected<OpenFile> OpenItself(const EntryRef& entry) {
    return OpenAs(entry, O_PATH);
}

/// Opens what is to be changed, never a link. Only a file or a directory is opened for reading: opening a
/// device could set it to work. What cannot be read is opened as a name.
Expected<Descriptor> OpenToChange(const EntryRef& entry) {
    const auto info = StatOf(entry.directory, entry.name);
    if (!info) return info.error();
    if (S_ISREG(info->st_mode) || S_ISDIR(info->st_mode)) {
        auto file = OpenAs(entry, O_RDONLY | O_NONBLOCK | O_NOCTTY);
        if (file) return std::move(file->file);
    }
    auto itself = OpenItself(entry);
    if (!itself) return itself.error();
    return S_ISLNK(itself->info.st_mode) ? Expected<Descriptor>(Result(ELOOP)) : std::move(itself->file);
}

Result GiveMode(const Descriptor& entry, unsigned mode) {
    const Result given = Outcome(fchmod(entry.Get(), mode));
    const bool isNameOnly = given == Result(EBADF);
    return isNameOnly ? Outcome(chmod(ProcPath(entry.Get()).c_str(), mode)) : given;
}

bool IsAttributeRefusal(const Result& result) {
    return std::ranges::find(kAttributeRefusals, result.Code()) != kAttributeRefusals.end();
}

/// The extended attributes of an open file or directory.
struct AttributesOfFile {
    int fd;

    ssize_t List(char* names, std::size_t size) const { return flistxattr(fd, names, size); }
    ssize_t Get(const char* name, char* value, std::size_t size) const {
        return fgetxattr(fd, name, value, size);
    }
    int Set(const char* name, const std::string& value) const {
        return fsetxattr(fd, name, value.data(), value.size(), 0);
    }
    int Remove(const char* name) const { return fremovexattr(fd, name); }
};

/// Those of an entry opened with O_PATH, which can be changed by its path under /proc only. A link is not
/// followed.
struct AttributesOfEntry {
    std::string path;

    explicit AttributesOfEntry(const OpenFile& entry) : path(ProcPath(entry.file.Get())) {}

    ssize_t List(char* names, std::size_t size) const { return listxattr(path.c_str(), names, size); }
    ssize_t Get(const char* name, char* value, std::size_t size) const {
        return getxattr(path.c_str(), name, value, size);
    }
    int Set(const char* name, const std::string& value) const {
        return setxattr(path.c_str(), name, value.data(), value.size(), 0);
    }
    int Remove(const char* name) const { return removexattr(path.c_str(), name); }
};

/// Fails when it cannot be told.
template <typename Attributes>
Expected<bool> Has(const Attributes& of, const char* name) {
    if (of.Get(name, nullptr, 0) >= 0) return true;
    const Result failure = Result::FromErrno();
    if (failure.Code() == ENODATA || failure.Code() == ENOTSUP) return false;
    return failure;
}

/// Calls a function that first tells how long a value is and then fills it in.
template <typename Get>
Expected<std::string> ReadValue(Get&& get) {
    const ssize_t size = get(nullptr, 0);
    if (size < 0) return Result::FromErrno();
    std::string value(static_cast<std::size_t>(size), '\0');
    const ssize_t length = size == 0 ? 0 : get(value.data(), value.size());
    if (length < 0) return Result::FromErrno();
    value.resize(static_cast<std::size_t>(length));
    return value;
}

template <typename Attributes>
Expected<std::string> ReadAttribute(const Attributes& of, const char* name) {
    return ReadValue([&](char* buffer, std::size_t size) { return of.Get(name, buffer, size); });
}

template <typename Attributes>
Result TakeAttribute(const Attributes& to, const Attributes& model, const char* name) {
    const auto value = ReadAttribute(model, name);
    if (!value) return value.error();
    if (const auto present = ReadAttribute(to, name); present && *present == *value) return Result();
    return Outcome(to.Set(name, *value));
}

/// Names as the system lists them, each with a zero byte at its end.
bool IsListed(const std::string& names, std::string_view name) {
    return ('\0' + names).find('\0' + std::string(name) + '\0') != std::string::npos;
}

template <typename Attributes>
Result TakeAll(const Attributes& to, const Attributes& model) {
    const auto listed = ReadValue([&](char* buffer, std::size_t size) { return model.List(buffer, size); });
    if (!listed && !IsAttributeRefusal(listed.error())) return listed.error();
    const std::string names = listed.value_or(std::string());
    for (const char* list : kAccessLists) {
        if (IsListed(names, list)) continue;
        const auto isInherited = Has(to, list);
        if (!isInherited) return isInherited.error();
        if (const Result gone = Outcome(*isInherited ? to.Remove(list) : 0); !gone) return gone;
    }
    for (const char* name = names.c_str(); name < names.c_str() + names.size();
         name += std::strlen(name) + 1) {
        const Result taken = TakeAttribute(to, model, name);
        if (!taken && !IsAttributeRefusal(taken)) return taken;
    }
    return Result();
}

/// Returns the mode that may be given to the file then.
Expected<mode_t> TakeOwner(int fd, const struct stat& model, IfRefused ifRefused) {
    const auto own = StatOf(fd);
    if (!own) return own.error();
    const mode_t mode = model.st_mode & kPermissions;
    const bool isOwned = own->st_uid == model.st_uid && own->st_gid == model.st_gid;
    if (isOwned || fchown(fd, model.st_uid, model.st_gid) == 0) return mode;
    if (ifRefused == IfRefused::Fail) return Result::FromErrno();
    return mode & ~kLentRights;
}

}  // namespace

Result SetMode(const EntryRef& entry, unsigned mode) {
    const auto file = OpenToChange(entry);
    return file ? GiveMode(*file, mode) : file.error();
}

Result SetOwner(const EntryRef& entry, unsigned user, unsigned group, std::optional<unsigned> mode) {
    const auto file = OpenToChange(entry);
    if (!file) return file.error();
    const Result owned = Outcome(fchownat(file->Get(), "", user, group, AT_EMPTY_PATH));
    const Result given = mode ? GiveMode(*file, *mode) : Result();
    return owned ? given : owned;
}

Result TakeOwnerAndMode(int fd, const struct stat& model, IfRefused ifRefused) {
    const auto mode = TakeOwner(fd, model, ifRefused);
    return mode ? Outcome(fchmod(fd, *mode)) : mode.error();
}

Result TakeTimes(int fd, const struct stat& model) {
    const std::array times = {model.st_atim, model.st_mtim};
    return Outcome(futimens(fd, times.data()));
}

Result TakeAttributes(int fd, int model, IfRefused ifRefused) {
    const auto info = StatOf(model);
    if (!info) return info.error();
    const auto mode = TakeOwner(fd, *info, ifRefused);
    if (!mode) return mode.error();
    const AttributesOfFile own{fd};
    const AttributesOfFile others{model};
    if (const Result taken = TakeAll(own, others); !taken) return taken;
    // With a list, the group's bits in the mode are what the list allows at most, not what the group may do.
    const auto isMeant = Has(others, kAccessList);
    const auto isThere = isMeant ? Has(own, kAccessList) : isMeant;
    if (!isThere) return isThere.error();
    const bool lacksItsList = *isMeant && !*isThere;
    return Outcome(fchmod(fd, lacksItsList ? *mode & ~mode_t{S_IRWXG} : *mode));
}

Result TakeAttributes(int fd, const EntryRef& model, IfRefused ifRefused) {
    const auto file = OpenAs(model, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    return file ? TakeAttributes(fd, file->file.Get(), ifRefused) : file.error();
}

Result TakeExtendedAttributes(const EntryRef& entry, const EntryRef& model) {
    const auto file = OpenItself(entry);
    if (!file) return file.error();
    const auto other = OpenItself(model);
    return other ? TakeAll(AttributesOfEntry(*file), AttributesOfEntry(*other)) : other.error();
}

}  // namespace corekit
