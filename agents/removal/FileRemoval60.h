// Removing the files of an agent of version 6.x.
#pragma once

#include "agents/removal/RemovalOutcome.h"
#include "corekit/ini/IniFile.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Removes everything that the agent's client.conf leads to: the data in its stores, the stores themselves,
/// the files that were generated below the install directory, and that directory, client.conf last. While a
/// reinstallation is pending, the two files that the installer needs stay. Rotated debug logs are left to the
/// agent's class. Warns of what cannot be removed, and joins it to `left`. While anything is left,
/// client.conf stays, so that the next run finds it, with a warning: "WARNING! <path> is kept: <why>."
/// If anything is in `left` before, the programs stay, too: the next run knows the links to them by their
/// names.
void RemoveInstalledFiles60(const corekit::IniFile& oldConf, RemovalOutcome left = {});

/// Removes the files that this program and the agent generate below an install directory, except those that
/// `newConf` names (null: none). Removes nothing for "" and "/". Returns what is left.
RemovalOutcome RemoveGeneratedFiles60(const corekit::String& installDir,
                                      const corekit::IniFile* newConf = nullptr);

/// The same, but client.conf stays.
RemovalOutcome RemoveGeneratedFilesButClientConf60(const corekit::String& installDir,
                                                   const corekit::IniFile* newConf);

}  // namespace Zorvane::AgentInstaller
