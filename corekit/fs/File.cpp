// Probes and reads files, and sets their mode and owner.
#include "corekit/fs/File.h"

#include <cerrno>
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

Result Probe(const String& path, struct stat& info) {
    return Outcome(stat(NativePath(path).c_str(), &info));
}

bool IsAccessible(const String& path, int access) {
    return faccessat(AT_FDCWD, NativePath(path).c_str(), access, AT_EACCESS) == 0;
}

}  // namespace

Result Probe(const String& path) {
    struct stat info {};
    return Probe(path, info);
}

bool Exists(const String& path) {
    return !IsNotFound(Probe(path));
}

bool IsDirectory(const String& path) {
    struct stat info {};
    return Probe(path, info) && S_ISDIR(info.st_mode);
}

bool MayBeDirectory(const String& path) {
    struct stat info {};
    const Result found = Probe(path, info);
    return found ? S_ISDIR(info.st_mode) : !IsNotFound(found);
}

Result RefuseLink(const String& path) {
    ParentDirectory place;
    struct stat info {};
    Result found = ParentDirectory::Of(path, place);
    if (found) found = Outcome(fstatat(place.Fd(), place.name.c_str(), &info, AT_SYMLINK_NOFOLLOW));
    if (found) return S_ISLNK(info.st_mode) ? Result(ELOOP) : Result();
    return IsTransient(found) ? found : Result();
}

bool IsReadable(const String& path) {
    return IsAccessible(path, R_OK);
}

bool IsWritable(const String& path) {
    return IsAccessible(path, W_OK);
}

Result Read(const String& path, String& text, const Encoding& encoding) {
    std::string bytes;
    const Result result = ReadBytes(path, bytes);
    if (result) text = encoding.Decode(bytes);
    return result;
}

Result ReadBytes(const String& path, std::string& bytes) {
    struct stat info {};
    Descriptor file;
    if (const Result result = OpenRegular(AT_FDCWD, NativePath(path), Links::Followed, file, info); !result)
        return result;
    return ReadBytes(file, bytes);
}

Result ReadBytes(const Descriptor& file, std::string& bytes) {
    struct stat info {};
    if (fstat(file.Get(), &info) != 0) return Result::FromErrno();
    if (info.st_size > static_cast<off_t>(kLargestRead)) return Result(EFBIG);
    std::string read;
    read.reserve(static_cast<std::size_t>(info.st_size));
    const Result result = ReadAll(file.Get(), read, kLargestRead);
    if (result) bytes = std::move(read);
    return result;
}

Result Chmod(const String& path, unsigned mode) {
    return SetMode(EntryRef{AT_FDCWD, NativePath(path)}, mode);
}

Result Chowngrp(const String& path, unsigned user, unsigned group) {
    return SetOwner(EntryRef{AT_FDCWD, NativePath(path)}, user, group);
}

}  // namespace corekit::File
