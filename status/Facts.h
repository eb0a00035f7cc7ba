// The facts about the installed agent that can be seen on the host.
#pragma once

#include <optional>
#include <sys/types.h>
#include <vector>

#include "corekit/text/String.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller::Status {

struct Boot {
    std::vector<corekit::String> by;  // "systemd" and "links", those that start the agent
    std::vector<int> levels;          // the run levels in which it is started
    corekit::String unreadable;       // why that cannot be told; the others are empty then
};

struct Facts {
    bool isInstalled = false;   // there is a configuration; without one only `directory` is set
    bool isUnfinished = false;  // a run has begun to configure the agent, and has not finished
    corekit::String directory;  // as client.conf names it, where it leads to the one that was asked for
    corekit::String clientConf;
    corekit::String unreadable;  // why client.conf cannot be read: what only it tells is not known then
    corekit::String version;     // such as 6.0.350; empty where client.conf is missing or cannot be read
    corekit::String label;       // such as 6.0SP2; empty for a version that nobody knows
    std::optional<ServerUrl> server;
    corekit::String identifierFile;  // empty where client.conf names none
    bool hasIdentifier = false;
    Boot boot;
    std::optional<pid_t> process;
};

/// The install directory to look at when none is given: of that of QDNCLIENT_CONFIG_FILE, that of the running
/// program, the usual one and the package manager's, the first that has a configuration; else the usual one.
corekit::String FindInstallDir();

/// Looks at the host; changes nothing, and asks for nothing that only root may know.
Facts GatherFacts(const corekit::String& installDir);

}  // namespace Zorvane::AgentInstaller::Status
