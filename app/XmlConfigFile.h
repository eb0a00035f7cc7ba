// The XML configuration file that an administrator leaves for an unattended run: finding, reading and
// removing it.
#pragma once

#include <memory>
#include <vector>

#include "run/TrustedFile.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

inline constexpr const wchar_t* kXmlFileName = L".qdn-agent-install-config.xml";

/// The directories in which the file is looked for, separated by colons: those that the environment names,
/// the current one and its parent (unless that is the root), /tmp, /var and /opt/zorvane.
corekit::String BuildXmlSearchPath();

class XmlConfigFile {
  public:
    /// The settings of the first file on the search path that may be used; null when there is none, or it
    /// cannot be read or is empty. A file that is passed over or refused is warned of on standard error.
    std::unique_ptr<Settings> Load();

    /// Removes the first file that may be used from /tmp, /var or /opt/zorvane. One that was used from
    /// elsewhere stays, and one that could not be read.
    void Remove();

  private:
    std::vector<corekit::String> m_unread;  // files that may hold settings, and could not be read
    corekit::String m_usedPath;             // the file whose settings `Load` returned
};

}  // namespace Zorvane::AgentInstaller
