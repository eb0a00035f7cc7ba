// Deleting lines from a file of the host, the lines that a sed command would delete.
#pragma once

#include <span>
#include <string>
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

/// Replaces a file by its content without those lines, in one step; mode, owner and extended attributes stay.
/// A symbolic link stays, and the file that it leads to is edited. A file that has none of the lines is left
/// alone. On failure the old file stands whole: ENOENT when there is none.
corekit::Result DeleteLines(const corekit::String& path, std::span<const DeletedLines> deleted);

}  // namespace Zorvane::AgentInstaller
