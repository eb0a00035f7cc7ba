// Puts the host back as it was saved.
#pragma once

#include "apply/Journal.h"

namespace Zorvane::AgentInstaller::Apply {

/// Puts back everything that the journal tells of, whatever a run has made of it; what stands in its place
/// is kept by `KeepFailed`. It may be cut off at any point and done again. Goes on after a failure, and
/// returns the first one: then not all is as it was.
Outcome<> Restore(const Journal& journal);

/// Waits until what the run has made and removed beside the saved names has got to the disk.
void FlushPlaces(const Journal& journal);

}  // namespace Zorvane::AgentInstaller::Apply
