// Matches names against shell wildcards.
#include "corekit/text/Wildcard.h"

#include <fnmatch.h>

namespace corekit {

bool HasWildcard(const std::string& pattern) {
    return pattern.find_first_of("*?[") != std::string::npos;
}

bool MatchesWildcard(const std::string& pattern, const char* name) {
    if (pattern.find('\0') != std::string::npos) return false;
    return pattern.empty() || fnmatch(pattern.c_str(), name, FNM_PERIOD | FNM_NOESCAPE) == 0;
}

}  // namespace corekit
