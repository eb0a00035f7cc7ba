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
    /// Takes the result of removing `path`, which may end in a wildcard. A failure that will not pass does
    /// not count: the path is missing, is the host's own, or is not what it was taken for. What was meant to
    /// go from a directory of the host's is not the host's own.
    void Add(const corekit::String& path, const corekit::Result& removal,
             corekit::HostDirectory hostDirectory = corekit::HostDirectory::Refused);

    /// Counts something that stays and has been told already.
    void AddTold() { m_toldElsewhere = true; }

    void Add(const RemovalOutcome& others);

    /// True if anything is left.
    bool Any() const { return m_toldElsewhere || !m_left.empty(); }

    /// Writes "WARNING! <path> could not be removed: <why>." to standard error for each path that is left and
    /// has not been told yet.
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

/// The directory that an install directory's symbolic link leads to, if the client.conf that names it lies
/// there: a damaged one may name a link to anywhere. Any other directory as it is.
corekit::String DirectoryBehindLink(const corekit::String& directory, const corekit::String& confPath);

/// Refuses the host's own directories (EPERM) and symbolic links (ELOOP): a whole tree may only be removed
/// inside the agent's own directory.
corekit::Result CheckOwnDirectory(const corekit::String& directory);

}  // namespace Zorvane::AgentInstaller
