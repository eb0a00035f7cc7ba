// What a clean-up may remove, and what it could not remove.
#pragma once

#include <map>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Collects what could not be removed although it should have been.
class RemovalOutcome {
  public:
    /// Takes the result of removing `path`, which may end in a wildcard. A failure that will not pass does
    /// not count: the path is missing, is one of the host's own directories, or is not what it was taken for.
    void Add(const corekit::String& path, const corekit::Result& removal);

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

/// The directory that an install directory's symbolic link leads to, if the client.conf that names it lies
/// there: a damaged one may name a link to anywhere. Any other directory as it is.
corekit::String DirectoryBehindLink(const corekit::String& directory, const corekit::String& confPath);

/// Refuses the host's own directories (EPERM) and symbolic links (ELOOP): a whole tree may only be removed
/// inside the agent's own directory.
corekit::Result CheckOwnDirectory(const corekit::String& directory);

}  // namespace Zorvane::AgentInstaller
