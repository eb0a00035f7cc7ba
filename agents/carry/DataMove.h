// Moving an agent's data to where its new client.conf wants it, and giving up the old install directory.
#pragma once

#include "corekit/ini/IniFile.h"

namespace Zorvane::AgentInstaller {

enum class DataMove {
    Complete,  // all that was to be moved has moved
    Partial,   // something still lies at its old place
};

/// Moves the contents of each store (event queue, tasks, software delivery, packages) whose directory differs
/// between the two configurations and exists, across file systems too. What stands at the new place stays. A
/// store that stays, or part of which does, is told on standard error: "WARNING! <directory> is kept: <why>."
[[nodiscard]] DataMove MoveData(const corekit::IniFile& oldConf, const corekit::IniFile& newConf);

/// Where the install directory differs, removes the old one: its generated files and then the tree, which
/// stays, with the same warning, when the data has not been moved completely or when the new client.conf
/// names something in it. What cannot be removed stays, and is told in the same way. In place nothing is
/// removed.
void RemoveOldInstallation(const corekit::IniFile& oldConf, const corekit::IniFile& newConf,
                           DataMove dataMove);

}  // namespace Zorvane::AgentInstaller
