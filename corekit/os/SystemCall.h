// What the file operations ask of the system, tried again when a signal interrupts it.
#pragma once

#include <string>
#include <string_view>
#include <sys/stat.h>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

/// Success for 0, else what errno tells.
Result Outcome(int returned);

/// The bytes of a path. A path that holds a NUL can be given to no system call: it becomes the empty path,
/// which names nothing, rather than the path before the NUL.
std::string NativePath(const String& path);

/// openat(2), closed when a program is executed. None, and errno, on failure.
Descriptor OpenAt(int directory, const std::string& name, int flags, unsigned mode = 0);

/// Opens a directory for reading; OpenDirectoryItself refuses a symbolic link (ENOTDIR).
Descriptor OpenDirectory(const std::string& path);
Descriptor OpenDirectoryItself(int parent, const std::string& name);

/// Opens a regular file for reading and tells about it. Anything else is refused without waiting (EISDIR,
/// EINVAL; ELOOP for a link that is not followed).
enum class Links { Followed, Refused };
Result OpenRegular(int directory, const std::string& name, Links links, Descriptor& file, struct stat& info);

/// Reads as much as fits into `buffer`, whose size stays; 0 bytes at the end of the file.
Result ReadSome(int fd, std::string& buffer, std::size_t& count);

/// Reads the rest of an open file; EFBIG when there are more than `limit` bytes.
Result ReadAll(int fd, std::string& bytes, std::size_t limit);

Result WriteAll(int fd, std::string_view bytes);

/// Flushes a file or directory to disk; success on file systems that know no flush.
Result Flush(int fd);

}  // namespace corekit
