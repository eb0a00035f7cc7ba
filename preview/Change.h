// One difference between the host and its copy.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "preview/FileState.h"

namespace Zorvane::AgentInstaller::Preview {

enum class Action {
    Create,
    Replace,  // other bytes, another target or another type
    Change,   // another mode, owner or extended attribute only
    Remove,
    Move,
};

struct Change {
    Action action = Action::Change;
    std::string path;                 // on the host; of what is removed or moved, its name before
    std::string to;                   // of a move: the name after
    std::optional<FileState> before;  // none of what is created
    std::optional<FileState> after;   // none of what is removed
    std::string beforeAt;             // where its bytes can be read, in the process that built the copy
    std::string afterAt;
    std::uint64_t entries = 0;            // in a directory that goes or moves, at all levels
    std::vector<std::string> attributes;  // names of the extended attributes that differ
};

}  // namespace Zorvane::AgentInstaller::Preview
