// What an upgrade leaves standing where the old agent's files are removed.
#pragma once

#include <vector>

#include "agents/removal/RemovalOutcome.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// What stays: on a clean nothing; on an upgrade what the new client.conf names; in place, that is when its
/// install directory is the old one, also what the new package laid down there and what this run has written.
class KeepList {
  public:
    /// An empty `newConfPath` stands for a clean. `oldInstallDir` ends in "/".
    KeepList(const corekit::String& newConfPath, const corekit::String& oldInstallDir);

    /// Makes one more path stay.
    void Spare(const corekit::String& path) { m_named.emplace_back(path); }

    /// Is the path one of them, or a directory that holds one?
    bool Include(const corekit::String& path) const;

    /// Removes what a shell wildcard in the last component names, directories as trees, survivors excepted.
    void RemoveOthers(
        const corekit::String& pattern, RemovalOutcome& left,
        corekit::File::HostDirectory hostDirectory = corekit::File::HostDirectory::Refused) const;

    /// Removes a directory with everything in it; when it holds survivors, everything else in it.
    void RemoveOthersInTree(const corekit::String& directory, RemovalOutcome& left) const;

  private:
    bool IsOurs(const corekit::String& path) const;
    void RemoveOtherEntries(const corekit::String& directory, const corekit::String& pattern,
                            RemovalOutcome& left) const;

    bool m_isClean;
    bool m_mayBeAny = false;                            // the new client.conf cannot be read
    std::vector<corekit::Path::AncestorChain> m_named;  // by the new client.conf, or spared
    corekit::String m_installDir;                       // empty unless the upgrade is in place
    corekit::Path::AncestorChain m_libraries;           // in place, those of the new package
};

}  // namespace Zorvane::AgentInstaller
