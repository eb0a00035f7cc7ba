// The directories that the file-system standard gives the host: no clean-up may remove, empty or move them.
#pragma once

#include <vector>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

/// Refuses (EPERM) "/" and the directories of the host itself (/usr, /etc, /var/lib, /etc/init.d ...),
/// however the path is spelled or whichever links and mounts lead there. Where the system does not tell which
/// directory it is, the result is why. What does not exist is not refused.
Result RefuseHostDirectory(const String& path);

/// The same for a directory that is open, and that nobody can change for another one meanwhile.
Result RefuseHostDirectory(const Descriptor& directory);

/// Is it refused, for either reason?
template <typename Directory>
bool IsHostDirectory(const Directory& directory) {
    return !RefuseHostDirectory(directory);
}

struct HostEntries;

/// Their names in one open directory, whatever stands there (on many hosts /lib is a link). Most have none.
class HostNames {
  public:
    explicit HostNames(int directory);

    /// EPERM for one of them; for every name why the system did not tell which directory it is.
    Result Refuse(const char* name) const;

  private:
    Result m_known;
    std::vector<const HostEntries*> m_entries;
};

/// The same for a single name.
inline Result RefuseHostName(const EntryRef& entry) {
    return HostNames(entry.directory).Refuse(entry.name.c_str());
}

}  // namespace corekit
