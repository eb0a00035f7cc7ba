// A run that is only rehearsed: it changes the files of a copy of the host, and nothing else.
#pragma once

namespace Zorvane::AgentInstaller::Rehearsal {

inline bool bIsOn = false;         // no agent or service is to be started, stopped or told anything
inline bool bStartsAgent = false;  // the rehearsed run would have started the agent

}  // namespace Zorvane::AgentInstaller::Rehearsal
