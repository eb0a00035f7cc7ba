// The options of this run that every part of the program reads.
#pragma once

namespace Zorvane::AgentInstaller::Args {

inline bool bQuiet = false;     // -quiet: no progress output
inline bool bNoSearch = false;  // -nosearch: do not ask the package manager for an installed agent

}  // namespace Zorvane::AgentInstaller::Args
