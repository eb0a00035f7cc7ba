// Keys of the key table, taken apart.
#pragma once

#include <string_view>

#include "corekit/String.h"

namespace Zorvane::AgentInstaller {

/// "Section/key" as its two parts.
struct KeyPath {
    explicit KeyPath(std::wstring_view path)
        : section(path.substr(0, path.find(L'/'))), key(path.substr(path.find(L'/') + 1)) {}

    corekit::String section;
    corekit::String key;
};

}  // namespace Zorvane::AgentInstaller
