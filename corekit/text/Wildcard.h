// Names and shell wildcards.
#pragma once

#include <string>

namespace corekit {

/// Has the pattern any of "*", "?" and "["?
bool HasWildcard(const std::string& pattern);

/// Does the name match? "*" takes no leading dot; "\" stands for itself; an empty pattern matches every name,
/// one with a NUL none.
bool MatchesWildcard(const std::string& pattern, const char* name);

}  // namespace corekit
