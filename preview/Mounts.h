// What is mounted on the host, and where a path can be written.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "corekit/os/Result.h"

namespace Zorvane::AgentInstaller::Preview {

struct Mount {
    int id = 0;
    std::string point;        // the directory or file that is covered, as a path of the host
    std::string type;         // of the file system, such as "ext4"
    unsigned long flags = 0;  // MS_RDONLY, MS_NOSUID, MS_NODEV and MS_NOEXEC, as far as they hold

    bool operator==(const Mount&) const = default;
};

/// The rows of a /proc/.../mountinfo, in its order; a row that is not understood is left out.
std::vector<Mount> ParseMounts(std::string_view mountInfo);

/// The mounts that a path leads to, sorted so that one comes before those below it; mounts that others cover
/// are left out. The root directory is always among them: where it is no mount of its own, as in a changed
/// root, it has the id 0. Fails without /proc, and where the system does not tell of every mount.
corekit::Result ReadVisibleMounts(std::vector<Mount>& mounts);

/// True for a path that is a directory's, or lies below it.
bool IsAtOrBelow(std::string_view path, std::string_view directory);

/// The last of the mounts, sorted as above, that `path` is at or below.
const Mount* MountOf(const std::vector<Mount>& mounts, std::string_view path);

}  // namespace Zorvane::AgentInstaller::Preview
