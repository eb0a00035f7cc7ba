// Stand-ins for the host's programs: small scripts in a directory of their own, first on the search path.
#pragma once

#include <stdlib.h>
#include <string>

#include "tests/support/TestFiles.h"

namespace testsupport {

/// Puts a directory for stand-ins in front of PATH as long as it lives. Every stand-in records its calls, a
/// line "name argument ..." each.
class StandIns {
  public:
    StandIns() : m_path(getenv("PATH")) { setenv("PATH", (m_directory.Path() + ":" + m_path).c_str(), 1); }
    ~StandIns() { setenv("PATH", m_path.c_str(), 1); }
    StandIns(const StandIns&) = delete;
    StandIns& operator=(const StandIns&) = delete;

    /// A program that runs the shell lines `body`.
    void Add(const std::string& name, const std::string& body = "") {
        testfiles::Write(
            m_directory / name,
            "#!/bin/sh\necho \"" + name + " $*\" >>'" + m_directory / "calls" + "'\n" + body + "\n", 0755);
    }

    std::string PathOf(const std::string& name) const { return m_directory / name; }

    /// What the stand-ins have been called with since the last time this was asked.
    std::string Calls() {
        const std::string calls =
            testfiles::Exists(m_directory / "calls") ? testfiles::Read(m_directory / "calls") : "";
        remove((m_directory / "calls").c_str());
        return calls;
    }

  private:
    testfiles::TempDir m_directory;
    std::string m_path;
};

}  // namespace testsupport
