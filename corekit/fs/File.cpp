// Probes and reads files, and sets their mode and owner.
#include "corekit/fs/File.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/FileMode.h"
#include "corekit/os/SystemCall.h"

namespace corekit::File {

namespace {

/// No file that the program has any business with comes near it.
constexpr std::size_t kLargestRead = 256UL * 1024 * 1024;

Expected<struct stat> Follow(const String& path) {
    struct stat info {};
    if (stat(NativePath(path).c_str(), &info) != 0) return Result::FromErrno().About(path);
    return info;
}

bool IsAccessible(const String& path, int access) {
    return faccessat(AT_FDCWD, NativePath(path).c_str(), access, AT_EACCESS) == 0;
}

}  // namespace

Result Probe(const String& path) {
    return Follow(path).Outcome();
}

bool Exists(const String& path) {
    return !IsNotFound(Probe(path));
}

bool IsDirectory(const String& path) {
    const auto found = Follow(path);
    return found && S_ISDIR(found->st_mode);
}

bool MayBeDirectory(const String& path) {
    const auto found = Follow(path);
    return found ? S_ISDIR(found->st_mode) : !IsNotFound(found.error());
}

Result RefuseLink(const String& path) {
    const auto place = ParentDirectory::Of(path);
    const auto found = place ? StatOf(place->Fd(), place->name) : Expected<struct stat>(place.error());
    if (found) return (S_ISLNK(found->st_mode) ? Result(ELOOP) : Result()).About(path);
    return IsTransient(found.error()) ? found.error().About(path) : Result();
}

bool IsReadable(const String& path) {
    return IsAccessible(path, R_OK);
}

bool IsWritable(const String& path) {
    return IsAccessible(path, W_OK);
}

Expected<String> Read(const String& path, const Encoding& encoding) {
    const auto bytes = ReadBytes(path);
    if (!bytes) return bytes.error();
    return encoding.Decode(*bytes);
}

Expected<std::string> ReadBytes(const String& path) {
    const auto file = OpenRegular(AT_FDCWD, NativePath(path), Links::Followed);
    if (!file) return file.error().About(path);
    return ReadBytes(file->file).About(path);
}

Expected<std::string> ReadBytes(const Descriptor& file) {
    const auto info = StatOf(file.Get());
    if (!info) return info.error();
    if (info->st_size > static_cast<off_t>(kLargestRead)) return Result(EFBIG);
    return ReadAll(file.Get(), kLargestRead, static_cast<std::size_t>(info->st_size));
}

Expected<String> ReadLink(const String& link) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length = readlink(NativePath(link).c_str(), target.data(), target.size());
    if (length < 0) return Result::FromErrno().About(link);
    return String::FromUtf8({target.data(), static_cast<std::size_t>(length)});
}

Result Chmod(const String& path, unsigned mode) {
    return SetMode(EntryRef{AT_FDCWD, NativePath(path)}, mode).About(path);
}

Result Chowngrp(const String& path, unsigned user, unsigned group) {
    return SetOwner(EntryRef{AT_FDCWD, NativePath(path)}, user, group).About(path);
}

}  // namespace corekit::File
