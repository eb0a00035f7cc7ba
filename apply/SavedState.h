// What a run will touch on the host, saved before it does.
#pragma once

#include <string>
#include <vector>

#include "apply/Journal.h"
#include "preview/Touched.h"

namespace Zorvane::AgentInstaller::Apply {

/// What is to be saved, as a rehearsal has found it.
struct ToSave {
    Preview::TouchedNames names;
    std::vector<std::string> ownDirs;  // that the run may remove as a whole: nothing is kept in one of them
    std::vector<std::string> withOneName;  // files that the run takes for its own only without another name
    std::vector<std::string> agentDirs;    // see `Journal`
    std::string runningAgent;
};

/// Stops the agent that runs, then saves all of it on the file systems where it is, in directories that only
/// root can enter, and begins the phase `Running`. What is replaced or removed is kept by a second name, what
/// others could take away, what is edited and what may have no other name by a copy; of a directory that is
/// renamed nothing but that is noted. Fails, with nothing left, the host unchanged and its agent running
/// again, when something cannot be saved.
Outcome<> Save(const ToSave& what);

}  // namespace Zorvane::AgentInstaller::Apply
