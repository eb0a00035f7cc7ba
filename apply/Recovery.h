// What a former -apply has left that was killed.
#pragma once

#include "apply/Journal.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller::Apply {

/// Puts the host back as it was before an -apply that was killed, or clears up after one that had come to its
/// end, and says so in one line on standard error. Does nothing where there is none, nor within an attempt.
/// The caller holds the lock of runs. Fails when the host could not be put back whole: nothing else may be
/// done to it before that.
Outcome<> FinishFormerApply();

/// Undoes what an attempt of this process has done: its agent is stopped, everything is put back, the agent
/// that ran before is started, and nothing of the journal is left. Where that fails, the next run tries
/// again.
Outcome<> UndoAttempt();

/// Has what an attempt has done stay. Fails when that cannot be noted: then it is to be undone.
Outcome<> Commit();

/// True if an -apply that was killed has left the host between before and after. False where only root can
/// tell.
bool IsApplyUnfinished();

}  // namespace Zorvane::AgentInstaller::Apply
