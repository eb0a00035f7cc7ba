// The environment that a shell command gets.
#pragma once

#include <vector>

namespace corekit {

/// Our environment in the form that exec takes (the last pointer is null), with LC_ALL=POSIX and without the
/// variables by which a caller could change what a shell, the loader or a tool in a pipe does. The pointers
/// are those of `environ`: good until the environment changes.
std::vector<char*> ShellEnvironment();

}  // namespace corekit
