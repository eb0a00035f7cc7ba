// The directories and files that a client.conf names: reading them so that a damaged file misleads no
// clean-up, checking them before a run changes anything, and making them before the agent starts.
#pragma once

#include <vector>

#include "corekit/ini/IniFile.h"
#include "corekit/text/String.h"
#include "run/Failure.h"
#include "run/Keys.h"

namespace Zorvane::AgentInstaller {

/// The directory that a value names, with a "/" at its end. Empty for a value that must not be used as a
/// directory: an empty one, a relative one (nobody knows relative to what), and the root however it is
/// spelled.
corekit::String UsableDirectory(const corekit::String& value);

/// The same for the value of a key.
corekit::String ConfiguredDirectory(const corekit::IniFile& conf, const ConfKey& key);

/// The paths that a client.conf names, as written: the install directory, the stores, the variable data, the
/// GUID file, the log and the certificates, and from all other values, lists included, the absolute paths at
/// which something exists. None is empty, and none occurs twice.
std::vector<corekit::String> NamedPaths(const corekit::IniFile& conf);

/// The absolute paths that the removal of an agent, of any version, follows, as they are written.
std::vector<corekit::String> CleanedPaths(const corekit::IniFile& conf);

/// Declares the agent's data that a client.conf names: the stores, the variable data, the GUID file, the log.
void DeclareData(const corekit::IniFile& conf);

/// Those of NamedPaths that are `place` or lie below it.
std::vector<corekit::String> NamedWithin(const corekit::IniFile& conf, const corekit::String& place);

/// Creates a directory that is missing, with those above it, and says so unless the run is quiet. Fails if
/// the path is not a writable directory afterwards.
Outcome<> CreateConfiguredDirectory(const corekit::String& path);

/// Fails unless the path is a writable directory. Creates nothing.
Outcome<> CheckConfiguredDirectory(const corekit::String& path);

/// Creates all directories that a client.conf names, in order, and stops at the first failure.
Outcome<> PrepareConfiguredDirectories(const corekit::IniFile& conf);

/// Fails as PrepareConfiguredDirectories would, and creates nothing.
Outcome<> CheckConfiguredDirectories(const corekit::IniFile& conf);

}  // namespace Zorvane::AgentInstaller
