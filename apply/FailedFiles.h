// The files of an attempt that failed, which are kept for whoever wants to know why.
#pragma once

#include <string>

#include "corekit/os/Result.h"

namespace Zorvane::AgentInstaller::Apply {

/// Where they stay, until the next -apply.
inline constexpr const wchar_t* kFailedDir = L"/var/lib/qdn-configure/failed";

/// Keeps an entry that the attempt has made, with all that is in it, below `kFailedDir`: by its own inode on
/// the same file system, else by a copy of what is small. Where that is not possible it is not kept, and
/// nothing is put back the worse for it.
void KeepFailed(const std::string& path);

/// True if files are kept.
bool HasFailedFiles();

/// Removes all that are kept.
corekit::Result RemoveFailedFiles();

}  // namespace Zorvane::AgentInstaller::Apply
