// What an upgrade keeps where the old agent's files are removed.
#pragma once

#include <vector>

#include "agents/removal/RemovalOutcome.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "corekit/ini/IniFile.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// The paths that stay: on a clean none, on an upgrade those that the new client.conf names. If its install
/// directory is the old one (an upgrade in place), the files of the new package and of this run stay as well.
class KeepList {
  public:
    /// `newConf` is null on a clean. `oldInstallDir` ends in "/".
    KeepList(const corekit::IniFile* newConf, const corekit::String& oldInstallDir);

    /// Keeps one more path.
    void Keep(const corekit::String& path);

    /// True if the path is kept, or is a directory that holds something kept.
    bool Includes(const corekit::String& path) const;

    /// Removes every path that matches a pattern with shell wildcards in its last component, directories with
    /// everything in them, unless it is kept.
    void RemoveOthers(const corekit::String& pattern, RemovalOutcome& left,
                      corekit::HostDirectory hostDirectory = corekit::HostDirectory::Refused) const;

    /// Removes a directory with everything in it; when it holds something kept, its other entries.
    void RemoveOthersInTree(const corekit::String& directory, RemovalOutcome& left) const;

  private:
    bool IsLaidDown(const corekit::String& path) const;
    bool IsOnTheWayToKept(const corekit::String& link) const;
    void RemoveOtherEntries(const corekit::String& directory, const corekit::String& pattern,
                            RemovalOutcome& left) const;

    bool m_isClean;
    std::vector<corekit::Path::AncestorChain> m_named;  // by the new client.conf, or by `Keep`
    std::vector<corekit::String> m_namedPaths;          // the same as they are written
    corekit::String m_installDir;                       // empty unless the upgrade is in place
    corekit::Path::AncestorChain m_libraries;           // in place, those of the new package
};

}  // namespace Zorvane::AgentInstaller
