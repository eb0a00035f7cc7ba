// Opens, reads, writes and flushes, over interruptions and partial transfers.
#include "corekit/os/SystemCall.h"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace corekit {

namespace {

Result CheckRegular(const struct stat& info) {
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

Expected<Descriptor> OpenAt(int directory, const std::string& name, int flags, unsigned mode) {
    const int fd = Uninterrupted([&] { return openat(directory, name.c_str(), flags | O_CLOEXEC, mode); });
    if (fd < 0) return Result::FromErrno();
    return Descriptor(fd);
}

Expected<Descriptor> OpenDirectoryItself(int parent, const std::string& name) {
    return OpenAt(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
}

Expected<struct stat> StatOf(int fd) {
    struct stat info {};
    if (fstat(fd, &info) != 0) return Result::FromErrno();
    return info;
}

Expected<struct stat> StatOf(int directory, const std::string& name) {
    struct stat info {};
    if (fstatat(directory, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) return Result::FromErrno();
    return info;
}

std::string ProcPath(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

Expected<std::string> ReadLink(int directory, const std::string& name) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlinkat(directory, name.c_str(), target.data(), target.size());
    if (length < 0) return Result::FromErrno();
    return std::string(target.data(), static_cast<std::size_t>(length));
}

Expected<OpenFile> OpenRegular(int directory, const std::string& name, Links links) {
    const int noFollow = links == Links::Refused ? AT_SYMLINK_NOFOLLOW : 0;
    struct stat info {};
    if (fstatat(directory, name.c_str(), &info, noFollow) != 0) return Result::FromErrno();
    if (const Result regular = CheckRegular(info); !regular) return regular;
    const int openNoFollow = links == Links::Refused ? O_NOFOLLOW : 0;
    auto file = OpenAt(directory, name, O_RDONLY | O_NONBLOCK | O_NOCTTY | openNoFollow);
    if (!file) return file.error();
    const auto opened = StatOf(file->Get());
    if (!opened) return opened.error();
    if (const Result regular = CheckRegular(*opened); !regular) return regular;
    return OpenFile{std::move(*file), *opened};
}

Expected<std::size_t> ReadSome(int fd, std::span<char> buffer) {
    const ssize_t count = Uninterrupted([&] { return read(fd, buffer.data(), buffer.size()); });
    if (count < 0) return Result::FromErrno();
    return static_cast<std::size_t>(count);
}

Expected<std::string> ReadAll(int fd, std::size_t limit, std::size_t expected) {
    std::array<char, 32768> chunk;
    std::string bytes;
    bytes.reserve(expected);
    for (;;) {
        const auto count = ReadSome(fd, chunk);
        if (!count) return count.error();
        if (*count == 0) return bytes;
        bytes.append(chunk.data(), *count);
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
