// A run that is only rehearsed: it changes the files of a copy of the host, and nothing else. And the attempt
// that may follow it.
#pragma once

#include <deque>
#include <vector>

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller::Rehearsal {

inline bool bIsOn = false;         // no agent or service is to be started, stopped or told anything
inline bool bStartsAgent = false;  // the rehearsed run would have started the agent

inline bool bIsAttempt =
    false;  // the run takes effect, and its caller watches the agent and undoes it if need be

inline std::vector<corekit::String> answers;  // lines that the rehearsed run got as answers
inline std::deque<corekit::String> replayed;  // answers of a rehearsal that an attempt takes in their turn

}  // namespace Zorvane::AgentInstaller::Rehearsal
