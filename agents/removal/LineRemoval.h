// Deleting lines from a file of the host with sed, so that no failure of the host's tools can cost it the
// file.
#pragma once

#include <span>
#include <string_view>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// The lines that a sed program deletes: those that contain `first`, each with all that follow up to the next
/// line containing `last` (to the end when there is none). Without `last` that line alone goes.
struct DeletedLines {
    std::string_view first;
    std::string_view last = {};
};

/// The content without those lines, as sed leaves it.
std::string WithoutLines(std::string_view content, std::span<const DeletedLines> deleted);

/// Runs a command line that edits a file by way of a file "stuff" in the current directory; "%1" and "%2" in
/// it are the file's path. The current directory is a private one beside the file meanwhile. When the file
/// then is anything but its old content less the deleted lines, the old file is put back (EPERM). Where the
/// system fails rather than the tools, the file is replaced by that content without them. Mode and owner
/// stay. A file that does not exist (ENOENT), or that has none of the lines, is left alone. Success when none
/// of the lines is left.
corekit::Result DeleteLines(const corekit::String& path, const corekit::String& command,
                            std::span<const DeletedLines> deleted);

/// Removes what a run that could not do it itself left beside a file that it edited.
void ClearUpAfterDeleteLines(const corekit::String& path, std::span<const DeletedLines> deleted);

}  // namespace Zorvane::AgentInstaller
