// What a clean-up may remove, and what it could not remove.
#pragma once

#include <map>

#include "corekit/fs/HostDirectories.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Collects what could not be removed although it should have been.
class RemovalOutcome {
  public:
    /// Takes the result of removing `path`, which may end in a wildcard. A failure does not count if the path
    /// is missing, is the host's own, or is not of the expected kind: no later run would remove it either.
    /// With `HostDirectory::Meant` no path is the host's own.
    void Add(const corekit::String& path, const corekit::Result& removal,
             corekit::HostDirectory hostDirectory = corekit::HostDirectory::Refused);

    /// Counts something that stays and has been warned of already.
    void AddTold() { m_toldElsewhere = true; }

    void Add(const RemovalOutcome& others);

    /// True if anything is left.
    bool Any() const { return m_toldElsewhere || !m_left.empty(); }

    /// Writes "WARNING! <path> could not be removed: <why>." to standard error for each path that is left and
    /// has not been warned of yet.
    void Tell();

  private:
    struct Remainder {
        corekit::Result why;
        bool isTold = false;
    };

    std::map<corekit::String, Remainder, corekit::Ltstr> m_left;
    bool m_toldElsewhere = false;
};

/// Removes a file that is meant to lie in a directory of the host's, and takes the result.
void RemoveFromHostDirectory(const corekit::String& path, RemovalOutcome& left);

/// The directory that `directory`, an install directory, leads to if it is a symbolic link and the
/// client.conf that names it lies there: a damaged client.conf may name a link to anywhere. Otherwise
/// `directory` itself.
corekit::String DirectoryBehindLink(const corekit::String& directory, const corekit::String& confPath);

/// Success for a directory that may be removed as a whole: not one of the host's own (EPERM), nor a symbolic
/// link (ELOOP).
corekit::Result CheckOwnDirectory(const corekit::String& directory);

}  // namespace Zorvane::AgentInstaller
