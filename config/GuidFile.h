// The file that holds the machine's identifier.
#pragma once

#include "corekit/ini/IniFile.h"
#include "corekit/text/String.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// The content of the file of an identifier.
corekit::String GuidFileText(const corekit::String& guid);

/// The content of such a file. Fails when it cannot be read, and (EFBIG) when it is over 4 KiB: then it is
/// none.
corekit::Expected<corekit::String> ReadGuidFile(const corekit::String& path);

/// Writes the setting Guid to the file that a client.conf names, and reads it back. Without the setting the
/// file stays. An installed agent's identifier is written as it was given, and a file that holds it already
/// stays untouched. Warns of a failure, and of a path that is no regular file with this one name: "WARNING!
/// <path> is not written: <why>." Fails instead if the identifier is from another file of the installed
/// agent's, which would be removed next.
Outcome<> WriteGuidFile(const corekit::IniFile& conf, const Settings& settings);

/// Removes the file that a client.conf names, if it is a regular file without a second name; in a directory
/// of the host only if it holds an identifier. Success for any other file, which stays. Fails when the file
/// cannot be removed, and when it cannot be read for a reason that may pass.
corekit::Result RemoveGuidFile(const corekit::IniFile& conf);

/// Removes the file that a client.conf names when there is no setting Guid, unless an upgrade keeps its
/// server: the file is then the installed agent's. Called as soon as that client.conf is in place: a run that
/// fails before must not cost the machine its identifier, and one that is cut off after it leaves an
/// identifier that the next run takes for the agent's own. Warns of a failure.
void RemoveUnwantedGuidFile(const corekit::IniFile& conf, const Settings& settings);

}  // namespace Zorvane::AgentInstaller
