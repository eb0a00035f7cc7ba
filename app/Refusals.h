// How a command ends early: the refusals that the commands share, and the report of a failure.
#pragma once

#include "corekit/text/String.h"
#include "run/Failure.h"
#include "run/RunLock.h"

namespace Zorvane::AgentInstaller {

// The program's statuses.
inline constexpr unsigned kSuccess = 0;
inline constexpr unsigned kFailure = 1;
inline constexpr unsigned kUsageError = 120;

inline constexpr const wchar_t* kAnotherRun = L"  Another run of qdn-configure is in progress.\n";

/// Each returns true after it has told the operator why the command cannot run.

/// Refuses a user who is not root.
bool RefuseOrdinaryUser();

/// Refuses, with the text `refusal`, while a plug-in process of the agent runs.
bool RefuseRunningAgent(const corekit::String& refusal);

/// Refuses when another run holds the lock.
bool RefuseSecondRun(const RunLock& lock);

/// Tells the operator of the failure on standard error. Returns the status of a run that failed.
unsigned Report(const Failure& failure);

}  // namespace Zorvane::AgentInstaller
