// Entries that are kept aside, and put back as they were: links, copies, moves and attributes, by name,
// without any check whose name it is.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit::Keeping {

/// Makes a directory that nobody else can enter (mode 0700); EEXIST when the name is taken.
Result MakePrivateDirectory(const String& path);

/// Gives a file or a link a second name, which must be free, on the same file system.
Result Link(const String& from, const String& to);

/// Makes a tree like `from` at a name that is free: its directories are made anew with mode, owner and
/// extended attributes, all else gets a second name there. Leaves out directories for whose path `isLeftOut`
/// returns true. All directories are flushed to disk.
Result LinkTree(const String& from, const String& to, const std::function<bool(const String&)>& isLeftOut);

/// Copies an entry of any kind, a directory with everything in it, with mode, owner and times, to a name that
/// is free; flushed to disk.
Result Copy(const String& from, const String& to);

/// Renames an entry of any kind, replacing a file or link by a file or link; to another file system by copy.
/// Both directories are flushed to disk.
Result Move(const String& from, const String& to);

/// Removes an entry of any kind; a mount point stays.
Result Remove(const String& path);

/// The same; nothing there is no failure.
Result RemoveIfThere(const String& path);

/// The device and the inode of an entry itself, which its other names share.
using Identity = std::pair<std::uint64_t, std::uint64_t>;
Expected<Identity> IdentityOf(const String& path);

/// Gives an entry, not what it leads to, a mode (no link has one) and an owner.
Result SetAccess(const String& path, unsigned mode, unsigned user, unsigned group);

/// Gives an entry these extended attributes and removes none. Leaves out those that the file system does not
/// support.
Result SetAttributes(const String& path, const std::map<std::string, std::string>& attributes);

/// Takes one extended attribute of an entry away; none of that name is no failure.
Result RemoveAttribute(const String& path, const std::string& name);

}  // namespace corekit::Keeping
