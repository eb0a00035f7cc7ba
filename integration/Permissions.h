// Owners and modes of the installation.
#pragma once

#include "corekit/fs/Dir.h"
#include "integration/SetupContext.h"

namespace Zorvane::AgentInstaller {

/// The set-up step: owner root and the modes of the files in bin, etc and lib and of the directories
/// themselves; subdirectories are left alone. What cannot be changed is passed over: the step never fails.
Outcome<> SetInstallPermissions(const SetupContext& context);

/// Adds an entry that is not a directory to the list; always true, so that a scan goes on.
bool SkipDirs(const corekit::FileInfo& info, std::vector<corekit::FileInfo>& list);

}  // namespace Zorvane::AgentInstaller
