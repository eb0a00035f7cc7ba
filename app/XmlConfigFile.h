// The XML configuration file that an administrator leaves for an unattended run: finding, reading and
// removing it.
#pragma once

#include <memory>
#include <vector>

#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

inline constexpr const wchar_t* kXmlFileName = L".qdn-agent-install-config.xml";

/// The directories in which the file is looked for, separated by colons: those that the environment names,
/// the current one and its parent (unless that is the root), /tmp, /var and /opt/zorvane.
corekit::String BuildXmlSearchPath();

class XmlConfigFile {
  public:
    /// The settings of the first file on the search path that may be used; null when there is none, or it
    /// cannot be read or is empty. Warns on standard error of a file that is passed over or refused.
    std::unique_ptr<Settings> Load();

    /// Removes the first file in /tmp, /var or /opt/zorvane that may be used. A file that was used from
    /// elsewhere stays, and so does one that could not be read.
    void Remove();

  private:
    std::vector<corekit::String> m_unread;  // files that may hold settings, and could not be read
    corekit::String m_usedPath;             // the file whose settings `Load` returned
};

}  // namespace Zorvane::AgentInstaller
