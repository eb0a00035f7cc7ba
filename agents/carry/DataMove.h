// Moving an agent's data to where its new client.conf wants it, in this run or, for what could not be moved,
// in the next; and removing the old install directory.
#pragma once

#include "corekit/ini/IniFile.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

enum class DataMove {
    Complete,  // all that was to be moved has moved
    Partial,   // something still lies at its old place
};

/// Moves the contents of each store (event queue, tasks, software delivery, packages) whose directory differs
/// between the two configurations and exists, across file systems too. What stands at the new place stays.
/// Warns of a store that stays, wholly or in part: "WARNING! <directory> is kept: <why>."
[[nodiscard]] DataMove MoveData(const corekit::IniFile& oldConf, const corekit::IniFile& newConf);

/// Where the install directory differs, removes the old one: its generated files and then the tree, which
/// stays, with the same warning, when the data has not been moved completely or when the new client.conf
/// names something in it. Warns in the same way of what cannot be removed. Removes nothing when the
/// directory is the same.
void RemoveOldInstallation(const corekit::IniFile& oldConf, const corekit::IniFile& newConf,
                           DataMove dataMove);

/// Keeps the old agent's client.conf for the data that still lies where it says: in the old install directory
/// or, when that is the new one or the file does not lie there, as a copy in etc/client.conf.unmoved.
/// etc/.unmoved below the new install directory names it. etc/.moved in the old one, which holds the new
/// install directory, says that no agent is installed there any more. Warns of a failure:
/// "WARNING! <path> is not written: <why>."
void KeepConfOfUnmovedData(const corekit::IniFile& oldConf, const corekit::IniFile& newConf);

/// Goes on moving the data that an earlier configuration of the agent of `newConf` had to leave. When all of
/// it has moved, the old client.conf, both marks and the old install directory go. Warns of what stays
/// as `MoveData` does. Does nothing without such data.
void MoveUnmovedData(const corekit::IniFile& newConf);

/// True if a client.conf is only kept for data that could not be moved: no agent is installed there any more.
/// Fails where that cannot be told now.
corekit::Expected<bool> IsKeptForUnmovedData(const corekit::String& confPath);

}  // namespace Zorvane::AgentInstaller
