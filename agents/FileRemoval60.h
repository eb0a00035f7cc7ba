// What an agent of version 6.x leaves on disk, and how it goes.
#pragma once

#include "corekit/IniFile.h"
#include "corekit/String.h"

namespace Zorvane::AgentInstaller {

/// Removes everything that the agent's client.conf leads to: the data in its stores, the stores themselves,
/// the files that were generated below the install directory, and that directory, client.conf last. With a
/// reinstall pending the two files that the installer needs then survive. Failures are ignored; rotated debug
/// logs are left to the agent's class.
void RemoveInstalledFiles60(const corekit::IniFile& oldConf);

/// Removes the files that this program and the agent generate below an install directory, those that
/// `newConf` names excepted (null: none). Nothing for "" and "/".
void RemoveGeneratedFiles60(const corekit::String& installDir, const corekit::IniFile* newConf = nullptr);

}  // namespace Zorvane::AgentInstaller
