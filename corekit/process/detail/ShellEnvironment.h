// The environment that a shell command gets, and where programs are looked for.
#pragma once

#include <string>
#include <vector>

namespace corekit {

/// The absolute directories of the environment's PATH, separated by colons, or
/// "/usr/sbin:/usr/bin:/sbin:/bin" if it has none. A relative one would let whoever owns the current
/// directory choose what root runs.
std::string SearchPath();

/// Our environment with LC_ALL=POSIX, with `SearchPath` as PATH, and without the variables by which a caller
/// could change what a shell, the loader or a tool in a pipe does.
class ShellEnvironment {
  public:
    ShellEnvironment();
    ShellEnvironment(const ShellEnvironment&) = delete;
    ShellEnvironment& operator=(const ShellEnvironment&) = delete;

    /// In the form that exec takes: the last pointer is null. The others are valid as long as this object
    /// lives and `environ` does not change.
    const std::vector<char*>& Variables() const { return m_variables; }

  private:
    std::string m_path;
    std::vector<char*> m_variables;
};

}  // namespace corekit
