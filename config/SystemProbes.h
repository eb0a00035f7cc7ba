// Small questions to the host, most of them answered by a shell command's first line of output, and which of
// the agent's programs are there.
#pragma once

#include <vector>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"
#include "corekit/text/Version.h"

namespace Zorvane::AgentInstaller {

/// The first line that a command line prints; "" when it prints none or cannot be run.
corekit::String RunShellCommand(const corekit::String& commandLine);

/// "linux", "suse" or "united".
corekit::String DetectDistribution();

/// True if a plug-in process of the agent runs.
bool IsPluginProcessRunning();

/// True if solutions depend on the agent installed there, or if that is not known.
bool HasRegisteredSolutions(const corekit::String& installDir);

/// The levels that occur in a text like "rc2;rc3;rc5", as digits "235" and as lists "2 3 5" and "0 1 4 6" of
/// those to start and to stop in; all empty when none occurs.
struct RunLevels {
    corekit::String startDigits;
    corekit::String startList;
    corekit::String stopList;
};
RunLevels SplitRunLevels(const corekit::String& levels);

/// The version of the host's rpm as far as the probe's command line shows it, with 0 for missing parts. No
/// command of the program calls it: it is there for debugging.
corekit::Version GetPackageManagerVersion();

/// A text like "4.18.0" as a version: what stands between the first three dots, missing parts 0.
corekit::Version ParseVersion(const corekit::String& text);

/// The directory above that of the running program; "" when it cannot be told.
corekit::String DirOfRunningProgram();

// The agent's programs.

/// The directory of an installation's programs, its "bin".
corekit::String ProgramDirectory(const corekit::String& installDir);

/// Adds the programs that are there: the name, without ".bin", of each file qdn-*.bin. Fails when the
/// directory cannot be read; what was read of it counts.
corekit::Result FindPrograms(const corekit::String& programDir, std::vector<corekit::String>& programs);

/// True if `path` is a symbolic link that leads below an install directory of the agent's: `installDir`, the
/// usual one, or one where the agent's package has been laid down; or if it leads to a program of its own
/// name that is gone from its "bin", as an agent leaves it that has moved or been removed. Fails where it is
/// not known whether a link stands there, or where it leads.
corekit::Expected<bool> IsAgentLink(const corekit::String& path, const corekit::String& installDir);

/// True if `path` is a symbolic link to the helper program; fails as `IsAgentLink` does.
corekit::Expected<bool> IsHelperLink(const corekit::String& path);

}  // namespace Zorvane::AgentInstaller
