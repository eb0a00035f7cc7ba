// Data of an old agent that could not be moved: the next configuration goes on moving it.
#pragma once

#include "corekit/ini/IniFile.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Keeps the old agent's client.conf for the data that still lies where it says: in the old install directory
/// or, when that is the new one or the file does not lie there, as a copy in etc/client.conf.unmoved.
/// etc/.unmoved below the new install directory names it. etc/.moved in the old one, which holds the new
/// install directory, says that no agent is installed there any more. A failure is told on standard error:
/// "WARNING! <path> is not written: <why>."
void KeepConfOfUnmovedData(const corekit::IniFile& oldConf, const corekit::IniFile& newConf);

/// Goes on moving the data that an earlier configuration of the agent of `newConf` had to leave. When all of
/// it has moved, the old client.conf, both marks and the old install directory go. What stays is told as by
/// `MoveData`. Does nothing without such data.
void MoveUnmovedData(const corekit::IniFile& newConf);

/// True if a client.conf is only kept for data that could not be moved: no agent is installed there any more.
bool IsKeptForUnmovedData(const corekit::String& confPath);

}  // namespace Zorvane::AgentInstaller
