// The directories and names that belong to the host: they are never removed, emptied, moved or replaced
// because a configuration names them by mistake.
#pragma once

#include <vector>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

/// Success for a directory that may be removed, emptied or moved, and for a path that does not exist. EPERM
/// for:
/// - "/" and the directories that the file-system standard names (/usr, /etc, /var/lib, /etc/init.d ...);
/// - what lies, however deep, in a directory that packages and users share (/etc, /usr/share, /var/lib ...;
///   of /home and /dev only the entries). Excepted is the caller's own: what lies in, is or holds a directory
///   of `DeclareOwn` and, in a directory for data such as /var/lib, an entry that has a name of
///   `DeclareOwnName`, or holds paths of `DeclareData` and nothing else.
///
/// It does not matter how the path is spelled or which links and mounts lead there. Fails with the failure of
/// the lookup where the directory cannot be identified.
Result CheckRemovable(const String& directory);

/// The same for a directory that is open, so that nobody can exchange it meanwhile.
Result CheckRemovable(const Descriptor& directory);

/// Success for a directory that somebody may install to: EPERM for those that the standard names.
Result CheckInstallable(const String& directory);

/// From now on this directory is the caller's own, with what lies in it, even in a directory of the host.
void DeclareOwn(const String& directory);

/// From now on a directory of this name is the caller's own where it lies directly in one for data, such as
/// /var/lib or /var/log.
void DeclareOwnName(const String& name);

/// From now on this path holds data of the caller's. A directory directly in one for data that holds two or
/// more such paths, and nothing else, is the caller's own.
void DeclareData(const String& path);

/// Forgets all declarations.
void ForgetOwn();

/// Whether an operation may work in the host's directories. `Meant` is for the few names that the program
/// itself fixes, never for one from a file or the environment.
enum class HostDirectory { Refused, Meant };

struct HostEntries;

/// The names that belong to the host in one open directory, whatever stands there (on many hosts /lib is a
/// link). Most directories have none.
class HostNames {
  public:
    HostNames(int directory, HostDirectory hostDirectory) : HostNames(directory, hostDirectory, nullptr) {}

    /// Success for a name that may be written, renamed or removed, EPERM for one of the host's; for every
    /// name the failure to identify the directory, if there was one.
    Result Check(const char* name) const;

  private:
    friend Result CheckReplaceable(const EntryRef& entry, HostDirectory hostDirectory);

    /// Knows of no other name than `only`, unless that is null: most names are the host's in no directory,
    /// and then none is looked at for them.
    HostNames(int directory, HostDirectory hostDirectory, const char* only);

    Result m_known;
    std::vector<const HostEntries*> m_entries;
    const wchar_t* m_shared = nullptr;  // the directory, where packages share it
};

/// The same for a single name.
Result CheckReplaceable(const EntryRef& entry, HostDirectory hostDirectory = HostDirectory::Refused);

}  // namespace corekit
