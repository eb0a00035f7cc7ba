// The options of this run that every part of the program reads, and whether the run is a rehearsal or an
// attempt.
#pragma once

#include <deque>
#include <vector>

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller::Args {

inline bool bQuiet = false;     // -quiet: no progress output
inline bool bNoSearch = false;  // -nosearch: do not ask the package manager for an installed agent

}  // namespace Zorvane::AgentInstaller::Args

namespace Zorvane::AgentInstaller::RunMode {

inline bool isRehearsal = false;      // no agent or service is to be started, stopped or told anything
inline bool wouldStartAgent = false;  // the rehearsed run would have started the agent

/// The run takes effect, and its caller watches the agent and undoes the run if need be.
inline bool isAttempt = false;

inline std::vector<corekit::String> answers;  // lines that the rehearsal took as answers
inline std::deque<corekit::String> replayed;  // answers of a rehearsal that an attempt takes in their turn

}  // namespace Zorvane::AgentInstaller::RunMode
