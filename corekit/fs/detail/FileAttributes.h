// Modes, owners, times and extended attributes of directory entries themselves, never of what a link leads
// to.
#pragma once

#include <optional>
#include <sys/stat.h>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Both change the entry itself, and refuse a symbolic link (ELOOP). A mode that is given beside the owner is
/// set also where the owner cannot be, which is the failure then.
Result SetMode(const EntryRef& entry, unsigned mode);
Result SetOwner(const EntryRef& entry, unsigned user, unsigned group,
                std::optional<unsigned> mode = std::nullopt);

enum class IfRefused { Fail, GoOn };

/// Gives an open file the owner and the mode of another. Where the owner cannot be given, `IfRefused::GoOn`
/// leaves out the bits that would lend the new owner's rights.
Result TakeOwnerAndMode(int fd, const struct stat& model, IfRefused ifRefused);

/// Gives an open file or directory owner, mode and extended attributes of `model`, which is of the same type:
/// access control lists, security labels, and what users attach. At no time may anybody do more with it than
/// with the model: a list that it has from its directory goes, where the model has none, and where a list
/// cannot be given, the group loses its rights. Other attributes that the file system or the kernel does not
/// let this process set are left out, and those that the file has already are not set again. A model with a
/// second name where others can write is refused (`kBelongsToOthers`).
Result TakeAttributes(int fd, int model, IfRefused ifRefused);
Result TakeAttributes(int fd, const EntryRef& model, IfRefused ifRefused);

/// Gives a link itself, or a special file, the extended attributes of another.
Result TakeExtendedAttributes(const EntryRef& entry, const EntryRef& model);

/// Gives an open file the times of another.
Result TakeTimes(int fd, const struct stat& model);

}  // namespace corekit
