// Where programs are looked for, here and in the commands that are run.
#pragma once

#include <string>

namespace corekit {

/// The absolute directories of the environment's PATH, separated by colons; the usual ones of a host when it
/// has none.
std::string SearchPath();

}  // namespace corekit
