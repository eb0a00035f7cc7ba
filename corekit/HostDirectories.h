// The directories that the file-system standard gives the host: no clean-up may remove, empty or move them.
#pragma once

#include <vector>

#include "corekit/Place.h"
#include "corekit/String.h"

namespace corekit {

/// Is this "/" or a directory of the host itself (/usr, /etc, /var/lib, /etc/init.d ...), however the path is
/// spelled or whichever links and mounts lead there?
bool IsHostDirectory(const String& path);

/// The same for a directory that is open, and that nobody can change for another one meanwhile.
bool IsHostDirectory(const Descriptor& directory);

struct HostEntries;

/// Their names in one open directory, whatever stands there (on many hosts /lib is a link). Most have none.
class HostNames {
  public:
    explicit HostNames(int directory);

    bool Include(const char* name) const;

  private:
    std::vector<const HostEntries*> m_entries;
};

/// The same for a single name.
inline bool IsHostName(const Entry& entry) {
    return HostNames(entry.directory).Include(entry.name.c_str());
}

}  // namespace corekit
