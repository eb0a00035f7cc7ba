// The table of mounts: what a row says is what was written, whatever the names of its directories.
#include <algorithm>
#include <array>
#include <cstdio>
#include <sys/mount.h>

#include "preview/Mounts.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"

namespace fuzz {

using Zorvane::AgentInstaller::Preview::IsAtOrBelow;
using Zorvane::AgentInstaller::Preview::Mount;
using Zorvane::AgentInstaller::Preview::ParseMounts;

namespace {

/// As the kernel writes it, every byte that could be mistaken with its number.
std::string Escaped(const std::string& field) {
    std::string text;
    for (const char byte : field) {
        std::array<char, 5> octal = {byte, '\0'};
        if (byte <= ' ' || byte == '\\')
            std::snprintf(octal.data(), octal.size(), "\\%03o",
                          static_cast<unsigned>(static_cast<unsigned char>(byte)));
        text += octal.data();
    }
    return text;
}

std::string Row(const Mount& mount) {
    std::string options = "rw";
    if ((mount.flags & MS_RDONLY) != 0) options = "ro";
    if ((mount.flags & MS_NOSUID) != 0) options += ",nosuid";
    if ((mount.flags & MS_NODEV) != 0) options += ",nodev";
    if ((mount.flags & MS_NOEXEC) != 0) options += ",noexec";
    return std::to_string(mount.id) + " 1 0:1 / " + Escaped(mount.point) + " " + options + " shared:1 - " +
           mount.type + " none rw\n";
}

}  // namespace

void Mounts(std::string_view input) {
    const std::vector<Mount> mounts = ParseMounts(input);
    Holds(static_cast<std::ptrdiff_t>(mounts.size()) <= std::ranges::count(input, '\n') + 1,
          "a row is one mount at most");
    std::string rows;
    for (const Mount& mount : mounts) {
        Holds(mount.id >= 0 && mount.point.starts_with('/') && !mount.type.empty(), "a mount is whole");
        Holds(IsAtOrBelow(mount.point, mount.point), "a directory is at itself");
        Holds(IsAtOrBelow(mount.point, "/"), "each directory is below the root");
        rows += Row(mount);
    }
    Holds(ParseMounts(rows) == mounts, "what is written reads the same");
}

}  // namespace fuzz
