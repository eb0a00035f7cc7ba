// Files: probing, reading, replacing, copying and removing them.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "corekit/fs/HostDirectories.h"
#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"
#include "corekit/text/Encoding.h"
#include "corekit/text/String.h"

namespace corekit::File {

/// Success when the path names anything, else why not (see `IsNotFound`). Links are followed: a dangling link
/// does not exist.
Result Probe(const String& path);

/// If the lookup itself fails, because of an error of a device or too many open files, the path counts as
/// existing, so that callers neither skip nor overwrite it.
bool Exists(const String& path);
bool MayBeDirectory(const String& path);

/// True if the path is known to be a directory.
bool IsDirectory(const String& path);

/// Success for anything but a symbolic link (ELOOP), also for a path at which nothing can be found. Fails as
/// well when the lookup fails for a reason that may pass (see `IsTransient`). A "/" at the end of the path
/// does not count.
Result CheckNotLink(const String& path);

/// True if the effective user may read what is at the path, or write to it; nobody may write where the file
/// system is read-only.
bool IsReadable(const String& path);
bool IsWritable(const String& path);

/// More bytes than any file that the program reads.
inline constexpr std::size_t kLargestRead = std::size_t{64} << 20;

/// The whole text of a regular file. A directory, FIFO or device is refused without waiting (EISDIR, EINVAL),
/// and so is what is larger than `limit` (EFBIG), and a file with a second name where others can write
/// (`kBelongsToOthers`).
Expected<String> Read(const String& path, const Encoding& encoding = Utf8Encoding());
Expected<std::string> ReadBytes(const String& path, std::size_t limit = kLargestRead);
/// The rest of a regular file that is open.
Expected<std::string> ReadBytes(const Descriptor& file, std::size_t limit = kLargestRead);

enum class Attributes { Kept, KeptButMode, New };

/// How a file is written.
struct WriteAs {
    unsigned mode = 0644;                      // of a new file, and unless it is kept
    Attributes attributes = Attributes::Kept;  // New: those of a new file, whoever had the old one
    HostDirectory hostDirectory = HostDirectory::Refused;  // Meant: a file directly in /etc or its like
};

/// Replaces the file in one step: temporary file beside it, mode and owner, content, flush to disk, rename,
/// flush of the directory. A present regular file's mode, owner and extended attributes are kept. A link in
/// its place is replaced, never followed. On failure the old file stands whole (the new one when nothing but
/// the last flush failed) and nothing else is left. Refuses the names of the host (EPERM) and, where others
/// can write in the directory, a file with a second name (`kBelongsToOthers`). Pieces go one after the other,
/// large ones without being copied together.
Result Write(const String& path, const String& text, const WriteAs& as = {});
Result WriteBytes(const String& path, std::string_view bytes, const WriteAs& as = {});
Result WritePieces(const String& path, std::span<const std::string_view> pieces, const WriteAs& as = {});

/// Writes an executable script in the same way; it has mode 0755 even if it replaces a file of another mode.
Result WriteScript(const String& path, const String& text);

/// Removes a file or link; not a directory. Refuses (EPERM) the names of the host, and devices and links in
/// its directories; with `HostDirectory::Meant` only the names of the standard.
Result Remove(const String& path, HostDirectory hostDirectory = HostDirectory::Refused);

/// Removes a file or link, or a directory with everything in it. A mount point stays as it is (EBUSY), and so
/// does what `Remove` refuses (EPERM).
Result RemoveAny(const String& path, HostDirectory hostDirectory = HostDirectory::Refused);

/// Success for a path that `Remove` would not refuse; EPERM for one of the host's, ENOENT where there is
/// nothing.
Result CheckRemovable(const String& path);

/// Removes the files that a shell wildcard in the last component names ("*", "?", "[...]"); the directory
/// before it is taken literally. Directories that match are removed as trees. "*" takes no leading dot unless
/// the pattern has it. Wildcards in one of the host's own directories are not expanded unless it is meant. An
/// empty pattern names nothing; one that ends in "/" is refused (EINVAL). Returns the worst failure.
Result RemoveEx(const String& pattern, HostDirectory hostDirectory = HostDirectory::Refused);

/// Renames, replacing an existing target; to another file system by copy, flush and rename there. Neither
/// name may be one of the host's (EPERM).
Result Rename(const String& from, const String& to);

/// Copies a regular file with its mode (and owner, where allowed), replacing an existing target in one step;
/// refused as by `Write`.
Result Copy(const String& from, const String& to);

enum class IfPresent { Keep, Replace };

/// Makes `link` a symbolic link to `target`. An existing file or link of that name is replaced in one step,
/// or kept (EEXIST). No name of the host is replaced (EPERM).
Result SymLink(const String& target, const String& link, IfPresent ifPresent = IfPresent::Replace);

/// Where a symbolic link leads, as it stands in the link; EINVAL for anything else.
Expected<String> ReadLink(const String& link);

/// Both work on the file itself: a symbolic link is refused (ELOOP), and a file with a second name where
/// others can write (`kBelongsToOthers`). A mode that is given beside the owner is set also where the owner
/// cannot be, which is the failure then.
Result Chmod(const String& path, unsigned mode);
Result Chowngrp(const String& path, unsigned user, unsigned group,
                std::optional<unsigned> mode = std::nullopt);

/// Creates an empty file of mode 0600, exclusively, from a pattern that ends in XXXXXX; returns its path.
Expected<String> MakeTemp(const String& pattern);

}  // namespace corekit::File
