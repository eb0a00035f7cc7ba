// Opens, reads, writes and flushes, over interruptions and partial transfers.
#include "corekit/os/SystemCall.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace corekit {

namespace {

template <typename Call>
auto Uninterrupted(Call&& call) {
    auto returned = call();
    while (returned < 0 && errno == EINTR) returned = call();
    return returned;
}

Result RefuseUnlessRegular(const struct stat& info) {
    if (S_ISDIR(info.st_mode)) return Result(EISDIR);
    if (S_ISLNK(info.st_mode)) return Result(ELOOP);
    return S_ISREG(info.st_mode) ? Result() : Result(EINVAL);
}

}  // namespace

Result Outcome(int returned) {
    return returned == 0 ? Result() : Result::FromErrno();
}

std::string NativePath(const String& path) {
    std::string bytes = path.Utf8();
    if (bytes.find('\0') != std::string::npos) bytes.clear();
    return bytes;
}

Descriptor OpenAt(int directory, const std::string& name, int flags, unsigned mode) {
    return Descriptor(
        Uninterrupted([&] { return openat(directory, name.c_str(), flags | O_CLOEXEC, mode); }));
}

Descriptor OpenDirectory(const std::string& path) {
    return OpenAt(AT_FDCWD, path, O_RDONLY | O_DIRECTORY);
}

Descriptor OpenDirectoryItself(int parent, const std::string& name) {
    return OpenAt(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
}

Result OpenRegular(int directory, const std::string& name, Links links, Descriptor& file, struct stat& info) {
    // Looked at first, since opening a device can set it to work.
    const int noFollow = links == Links::Refused ? AT_SYMLINK_NOFOLLOW : 0;
    if (fstatat(directory, name.c_str(), &info, noFollow) != 0) return Result::FromErrno();
    if (const Result result = RefuseUnlessRegular(info); !result) return result;
    const int openNoFollow = links == Links::Refused ? O_NOFOLLOW : 0;
    file = OpenAt(directory, name, O_RDONLY | O_NONBLOCK | O_NOCTTY | openNoFollow);
    if (!file || fstat(file.Get(), &info) != 0) return Result::FromErrno();
    return RefuseUnlessRegular(info);
}

Result ReadSome(int fd, std::string& buffer, std::size_t& count) {
    const ssize_t got = Uninterrupted([&] { return read(fd, buffer.data(), buffer.size()); });
    if (got < 0) return Result::FromErrno();
    count = static_cast<std::size_t>(got);
    return Result();
}

Result ReadAll(int fd, std::string& bytes, std::size_t limit) {
    std::string chunk(32768, '\0');
    bytes.clear();
    for (;;) {
        std::size_t count = 0;
        if (const Result result = ReadSome(fd, chunk, count); !result || count == 0) return result;
        bytes.append(chunk, 0, count);
        if (bytes.size() > limit) return Result(EFBIG);
    }
}

Result WriteAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = Uninterrupted([&] { return write(fd, bytes.data(), bytes.size()); });
        if (count < 0) return Result::FromErrno();
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return Result();
}

Result Flush(int fd) {
    if (Uninterrupted([&] { return fsync(fd); }) == 0 || errno == EINVAL) return Result();
    return Result::FromErrno();
}

}  // namespace corekit
