// Stand-ins for the host's programs: small scripts in a directory of their own, first on the search path.
#pragma once

#include <filesystem>
#include <stdlib.h>
#include <string>

#include "tests/support/TestFiles.h"

namespace testsupport {

/// Which of the host's programs are found beside the stand-ins.
enum class HostPrograms {
    All,
    TextTools,  // a few that shell pipelines need; in particular none that manages packages or services
};

/// Puts a directory for stand-ins in front of PATH as long as it lives. Every stand-in records its calls, a
/// line "name argument ..." each.
class StandIns {
  public:
    explicit StandIns(HostPrograms programs = HostPrograms::All) : m_path(getenv("PATH")) {
        const bool all = programs == HostPrograms::All;
        if (!all) LinkTextTools();
        setenv("PATH", (m_directory.Path() + (all ? ":" + m_path : "")).c_str(), 1);
    }
    ~StandIns() { setenv("PATH", m_path.c_str(), 1); }
    StandIns(const StandIns&) = delete;
    StandIns& operator=(const StandIns&) = delete;

    /// A program that runs the shell lines `body`.
    void Add(const std::string& name, const std::string& body = "") {
        Remove(name);
        testfiles::Write(
            m_directory / name,
            "#!/bin/sh\necho \"" + name + " $*\" >>'" + m_directory / "calls" + "'\n" + body + "\n", 0755);
    }

    /// Takes a stand-in, or one of the text tools, away.
    void Remove(const std::string& name) { std::filesystem::remove(m_directory / name); }

    std::string PathOf(const std::string& name) const { return m_directory / name; }

    /// What the stand-ins have been called with since the last time this was asked.
    std::string Calls() {
        const std::string calls =
            testfiles::Exists(m_directory / "calls") ? testfiles::Read(m_directory / "calls") : "";
        remove((m_directory / "calls").c_str());
        return calls;
    }

  private:
    void LinkTextTools() const {
        for (const char* tool : {"awk", "cat", "grep", "mv", "rm", "sed"})
            std::filesystem::create_symlink(std::string("/usr/bin/") + tool, m_directory / tool);
    }

    testfiles::TempDir m_directory;
    std::string m_path;
};

}  // namespace testsupport
