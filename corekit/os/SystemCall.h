// The system calls of the file operations, repeated when a signal interrupts them.
#pragma once

#include <cerrno>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

/// The result of a system call, which is repeated as long as a signal interrupts it.
template <typename Call>
auto Uninterrupted(Call&& call) {
    auto returned = call();
    while (returned < 0 && errno == EINTR) returned = call();
    return returned;
}

/// The result of a system call that returned this: success for 0, otherwise the failure that errno tells of.
Result Outcome(int returned);

/// The bytes of a path. A path that holds a NUL can be given to no system call: it becomes the empty path,
/// which names nothing, rather than the path before the NUL.
std::string NativePath(const String& path);

/// openat(2). The descriptor is closed when a program is executed.
Expected<Descriptor> OpenAt(int directory, const std::string& name, int flags, unsigned mode = 0);

/// Opens a directory for reading; a symbolic link is refused (ENOTDIR).
Expected<Descriptor> OpenDirectoryItself(int parent, const std::string& name);

/// fstat(2) and fstatat(2); the latter of the entry itself, never of what a link leads to.
Expected<struct stat> StatOf(int fd);
Expected<struct stat> StatOf(int directory, const std::string& name);

/// The path of an open descriptor under /proc, "/proc/self/fd/<fd>": a link to what is open.
std::string ProcPath(int fd);

/// Where a symbolic link leads, as it stands in the link; EINVAL for anything else.
Expected<std::string> ReadLink(int directory, const std::string& name);

/// A file that is open, and what fstat(2) told of it then.
struct OpenFile {
    Descriptor file;
    struct stat info {};
};

enum class Links { Followed, Refused };

/// Opens a regular file for reading. Anything else is refused without being opened (EISDIR, EINVAL; ELOOP for
/// a link that is not followed): opening it could wait, or set a device to work.
Expected<OpenFile> OpenRegular(int directory, const std::string& name, Links links);

/// Reads as much as fits into the buffer and returns how much that was: 0 bytes at the end of the file.
Expected<std::size_t> ReadSome(int fd, std::span<char> buffer);

/// Reads the rest of an open file; EFBIG when there are more than `limit` bytes. A size that is known, in
/// `expected`, avoids copies of a large file.
Expected<std::string> ReadAll(int fd, std::size_t limit, std::size_t expected = 0);

/// Writes all of the bytes, in as many calls as that takes.
Result WriteAll(int fd, std::string_view bytes);

/// Flushes a file or directory to disk; success on file systems that know no flush.
Result Flush(int fd);

}  // namespace corekit
