// Probes and reads files, and sets their mode and owner.
#include "corekit/fs/File.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/FileAttributes.h"
#include "corekit/os/SystemCall.h"

namespace corekit::File {

namespace {

Expected<struct stat> Follow(const String& path) {
    return StatOfTarget(path).About(path);
}

/// The place of a path; of "/" and its like the directory itself.
Expected<ParentDirectory> Find(const String& path) {
    auto place = ParentDirectory::Of(path);
    return place == Result(EISDIR) ? ParentDirectory::OfTarget(path) : std::move(place);
}

Expected<std::string> ReadRest(const Descriptor& file, const struct stat& info, std::size_t limit) {
    const auto size = static_cast<std::size_t>(info.st_size);
    if (size > limit) return Result(EFBIG);
    return ReadAll(file.Get(), limit, size);
}

bool IsAccessible(const String& path, int access) {
    const auto place = ParentDirectory::OfTarget(path);
    return place && faccessat(place->Fd(), place->name.c_str(), access, AT_EACCESS) == 0;
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

Result CheckNotLink(const String& path) {
    const auto place = ParentDirectory::Of(path);
    const auto found = place ? StatOf(place->Fd(), place->name) : place.error();
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

Expected<std::string> ReadBytes(const String& path, std::size_t limit) {
    const auto place = ParentDirectory::OfTarget(path);
    if (!place) return place.error().About(path);
    const auto file = OpenRegular(place->Fd(), place->name, Links::Refused);
    if (!file) return file.error().About(path);
    if (const Result only = CheckOnlyName(place->Fd(), file->info); !only) return only.About(path);
    return ReadRest(file->file, file->info, limit).About(path);
}

Expected<std::string> ReadBytes(const Descriptor& file, std::size_t limit) {
    const auto info = StatOf(file.Get());
    return info ? ReadRest(file, *info, limit) : info.error();
}

Expected<String> ReadLink(const String& link) {
    const auto place = ParentDirectory::Of(link);
    if (!place) return place.error().About(link);
    const auto target = corekit::ReadLink(place->Fd(), place->name);
    if (!target) return target.error().About(link);
    return String::FromUtf8(*target);
}

Result Chmod(const String& path, unsigned mode) {
    const auto place = Find(path);
    return (place ? SetMode(place->At(), mode) : place.error()).About(path);
}

Result Chowngrp(const String& path, unsigned user, unsigned group, std::optional<unsigned> mode) {
    const auto place = Find(path);
    return (place ? SetOwner(place->At(), user, group, mode) : place.error()).About(path);
}

}  // namespace corekit::File
